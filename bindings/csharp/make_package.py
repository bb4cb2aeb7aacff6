"""Makes a package for NuGet of the built assembly:  make_package.py NUSPEC

The package holds what the description's list of files names, and lies beside it afterwards.
"""
import pathlib
import re
import sys
import zipfile

CONTENT_TYPES = """<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
{}
</Types>
"""
RELATIONSHIPS = """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Id="manifest" Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/{}" />
</Relationships>
"""


def content_types(names):
    types = {"rels": "application/vnd.openxmlformats-package.relationships+xml"}
    types.update({name.rpartition(".")[2]: "application/octet" for name in names})
    return CONTENT_TYPES.format("\n".join(
        f'  <Default Extension="{extension}" ContentType="{content}" />' for extension, content in types.items()))


def main():
    nuspec = pathlib.Path(sys.argv[1])
    description = nuspec.read_text()
    identifier, version = (re.search(rf"<{tag}>(.*?)</{tag}>", description)[1] for tag in ("id", "version"))
    files = {f"{target}/{pathlib.PurePath(source).name}": nuspec.parent / source
             for source, target in re.findall(r'<file src="(.*?)" target="(.*?)" />', description)}
    for earlier in nuspec.parent.glob("*.nupkg"):
        earlier.unlink()
    with zipfile.ZipFile(nuspec.parent / f"{identifier}.{version}.nupkg", "w", zipfile.ZIP_DEFLATED) as package:
        package.writestr("_rels/.rels", RELATIONSHIPS.format(nuspec.name))
        package.writestr("[Content_Types].xml", content_types([nuspec.name, *files]))
        package.writestr(nuspec.name, re.sub(r" *<files>.*</files>\n", "", description, flags=re.S))
        for name, source in files.items():
            package.write(source, name)


main()
