"""A package as its users have it runs its quickstart against the service:  quickstart_test.py COMMAND…"""
import sys
import tempfile

from service import Service


def check(*command):
    with tempfile.TemporaryDirectory() as folder:
        service = Service(folder, config={"syncTimeOut": 10})
        try:
            output = service.run_host(*command, *service.options)
            assert "all is sent" in output, output
            assert any(event.get("name") == "level_done" for event in service.events())
        finally:
            service.end()


if __name__ == "__main__":
    check(*sys.argv[1:])
