// A host in C#, whose main thread runs what follows each await. It shows messages as text, and taps their first button.
//
//     mcs -r:LumoraSdk.dll Quickstart.cs && mono Quickstart.exe [ADDRESS CERTIFICATE]
//
// The arguments are those of a service on this machine, as lumora-service tells them.

using System;
using System.Collections.Generic;
using System.Threading.Tasks;
using LumoraSdk;

static class Quickstart {
  static LinuxPlatform platform;

  class Watcher : LumoraObserver {
    public override void Initialized() {
      Console.WriteLine("initialised");
    }

    public override void InitializationFailed(LumoraError error) {
      Console.WriteLine("not initialised: {0} {1}", error.Reason, error.Message);
    }

    public override void UploadFinished(LumoraObserver.Upload upload) {
      Console.WriteLine("{0} events took {1}", upload.Events, upload.Duration);
    }
  }

  class TextScreens : IMessageDisplay {
    public void Show(long message, IDictionary<string, object> description) {
      var elements = (IDictionary<string, object>) description["elements"];
      Console.WriteLine("message: " + ((IDictionary<string, object>) elements["primary_text"])["text"]);
      platform.Post(() => platform.Tap(message, "primary_button"));
    }

    public void Dismiss(long message) {
      Console.WriteLine("the message is gone");
    }
  }

  static bool OpenLink(string url) {
    Console.WriteLine("opens " + url);
    return true;
  }

  static async Task Shop() {
    var sdk = Lumora.SharedInstance();
    sdk.SetObserver(new Watcher());
    sdk.InitializeWithTarrowID("acme", "s3cret");

    var level = new LumoraActionMetaData();
    level.SetType("tutorial");
    level.SetMetric(12.5);
    level.ActionMetadata = new Dictionary<string, object>(level.ActionMetadata) { ["pauses"] = new[] { 3, 4 } };
    sdk.ReportAction("level_done", level);

    var ada = new LumoraLead();
    ada.SetEmail("ada@example.com");
    sdk.AssociateLead(ada);
    await Task.Delay(2000);
    sdk.ReportAction("profile_created");
    await Task.Delay(1000);
    // What may wait runs on another thread than the main queue.
    var isSent = await Task.Run(() => sdk.Flush(TimeSpan.FromSeconds(5)));
    Console.WriteLine(isSent ? "all is sent" : "the rest is sent by the next run");
  }

  static void Main(string[] arguments) {
    var options = new LinuxPlatformOptions {
      Info = new Dictionary<string, string> {
        ["CFBundleIdentifier"] = "com.example.shop",
        ["CFBundleShortVersionString"] = "1.0",
      },
      URLOpener = OpenLink,
      MessageDisplay = new TextScreens(),
    };
    if (arguments.Length == 2) {
      options.ConnectTo = arguments[0];
      options.CertificateAuthorityFile = arguments[1];
    }
    platform = new LinuxPlatform(options);
    platform.Install();
    platform.Run(Shop);
  }
}
