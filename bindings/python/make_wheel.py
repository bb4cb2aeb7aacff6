"""Makes a wheel of the built package:  make_wheel.py PACKAGE VERSION FOLDER"""
import pathlib
import shutil
import subprocess
import sys
import sysconfig
import tempfile

METADATA = """Metadata-Version: 2.1
Name: lumora
Version: {version}
Summary: Client library for a marketing-automation service
Author: Lumora maintainers
Author-email: maintainers@lumora.example
License: All rights reserved by the Lumora maintainers
Requires-Python: =={python}.*
Classifier: License :: Other/Proprietary License
Classifier: Operating System :: POSIX :: Linux
Classifier: Programming Language :: Python :: 3
Classifier: Typing :: Typed
"""
WHEEL = """Wheel-Version: 1.0
Generator: lumora
Root-Is-Purelib: false
Tag: {tag}
"""


def main():
    package, version, folder = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
    interpreter = "cp{0}{1}".format(*sys.version_info)
    tag = f"{interpreter}-{interpreter}-{sysconfig.get_platform().replace('-', '_').replace('.', '_')}"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    with tempfile.TemporaryDirectory() as scratch:
        root = pathlib.Path(scratch)
        shutil.copytree(package, root / "lumora", ignore=shutil.ignore_patterns("__pycache__"))
        library, = (root / "lumora").glob("_lumora*.so")
        subprocess.run(["strip", "--strip-unneeded", library], check=True)
        information = root / f"lumora-{version}.dist-info"
        information.mkdir()
        python = "{0}.{1}".format(*sys.version_info)
        (information / "METADATA").write_text(METADATA.format(version=version, python=python))
        (information / "WHEEL").write_text(WHEEL.format(tag=tag))
        subprocess.run([sys.executable, "-m", "wheel", "pack", root, "--dest-dir", folder], check=True)


main()
