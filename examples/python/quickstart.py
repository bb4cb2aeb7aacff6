"""A host in Python, with a loop of asyncio. It shows messages as text, and taps their first button.

quickstart.py [ADDRESS CERTIFICATE]: of a service on this machine, as lumora-service tells them.
"""
import asyncio
import sys
import typing

import lumora


class Watcher(lumora.LumoraObserver):
    def initialized(self):
        print("initialised")

    def initialization_failed(self, error):
        print(f"not initialised: {error.reason.name} {error.message}")

    def upload_finished(self, upload):
        print(f"{upload.events} events took {upload.duration.total_seconds():.1f} s")


class TextScreens:
    def show(self, message, description):
        print("message:", description["elements"]["primary_text"]["text"])
        asyncio.get_running_loop().call_soon(platform.tap, message, "primary_button")

    def dismiss(self, message):
        print("the message is gone")


def open_link(url):
    print("opens", url)
    return True


options: dict[str, typing.Any] = dict(zip(("connect_to", "certificate_authority_file"), sys.argv[1:]))
platform = lumora.LinuxPlatform(
    info={"CFBundleIdentifier": "com.example.shop", "CFBundleShortVersionString": "1.0"},
    url_opener=open_link, message_display=TextScreens(), **options)
platform.install()


async def shop():
    sdk = lumora.Lumora.shared_instance()
    sdk.set_observer(Watcher())
    sdk.initialize_with_tarrow_id("acme", "s3cret")

    level = lumora.LumoraActionMetaData()
    level.set_type("tutorial")
    level.action_metadata = {**level.action_metadata, "time": {"seconds": 12.5, "pauses": [3, 4]}}
    sdk.report_action("level_done", level)

    ada = lumora.LumoraLead()
    ada.set_email("ada@example.com")
    sdk.associate_lead(ada)
    await asyncio.sleep(2)
    sdk.report_action("profile_created")
    await asyncio.sleep(1)
    # What may wait runs on another thread than the main queue.
    print("all is sent" if await asyncio.to_thread(sdk.flush, 5) else "the rest is sent by the next run")


async def main():
    with platform.attached():
        await shop()


asyncio.run(main())
