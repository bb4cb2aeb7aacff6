"""The wheel, installed where there is nothing else, runs the quickstart:  wheel_test.py FOLDER"""
import pathlib
import subprocess
import sys
import tempfile
import venv

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import quickstart_test  # noqa: E402
from service import EXAMPLES  # noqa: E402

with tempfile.TemporaryDirectory() as folder:
    wheel, = pathlib.Path(sys.argv[1]).glob("lumora-*.whl")
    venv.create(folder, with_pip=True)
    python = pathlib.Path(folder) / "bin/python3"
    subprocess.run([python, "-m", "pip", "install", "--quiet", "--no-index", wheel], check=True)
    shown = subprocess.run([python, "-m", "pip", "show", "lumora"], check=True, capture_output=True, text=True).stdout
    assert "All rights reserved" in shown, shown
    quickstart_test.check(python, EXAMPLES / "python/quickstart.py")
