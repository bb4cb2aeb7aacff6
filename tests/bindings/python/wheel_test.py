"""The wheel, installed where there is nothing else, runs the quickstart against the service:  wheel_test.py FOLDER"""
import pathlib
import subprocess
import sys
import tempfile
import venv

from service import EXAMPLES, Service

with tempfile.TemporaryDirectory() as folder:
    wheel, = pathlib.Path(sys.argv[1]).glob("lumora-*.whl")
    environment = pathlib.Path(folder) / "venv"
    venv.create(environment, with_pip=True)
    python = environment / "bin/python3"
    subprocess.run([python, "-m", "pip", "install", "--quiet", "--no-index", wheel], check=True)
    shown = subprocess.run([python, "-m", "pip", "show", "lumora"], check=True, capture_output=True, text=True).stdout
    assert "All rights reserved" in shown, shown
    service = Service(folder, config={"syncTimeOut": 10})
    try:
        service.python = python
        output = service.run_host(EXAMPLES / "python/quickstart.py", *service.options.values()).stdout
        assert "all is sent" in output, output
        assert any(event.get("name") == "level_done" for event in service.events())
    finally:
        service.end()
