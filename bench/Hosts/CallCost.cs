// What an action with four details costs its caller's thread in C#: prints the median, in microseconds.

using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.Linq;
using System.Threading;
using LumoraSdk;

static class CallCost {
  const int Calls = 50, Rounds = 400, WarmUp = 200;

  static void Call(Lumora sdk) {
    var details = new LumoraActionMetaData();
    details.SetType("purchase");
    details.SetDetails("It's the \"summer\" coupon – 20 %");
    details.SetMetric(12.5);
    details.SetKey("item", "boots");
    sdk.ReportAction("checkout", details);
  }

  static void Settle(LinuxPlatform platform) {
    while (!platform.IsIdle) {
      platform.RunPending();
      Thread.Sleep(1);
    }
  }

  static void Main() {
    var platform = new LinuxPlatform(new LinuxPlatformOptions {
      Info = new Dictionary<string, string> {
        ["CFBundleIdentifier"] = "com.example.bench", ["CFBundleShortVersionString"] = "1.0" },
      LogSink = line => {},
      ConnectTo = Environment.GetEnvironmentVariable("LUMORA_CONNECT_TO"),
      CertificateAuthorityFile = Environment.GetEnvironmentVariable("LUMORA_CERTIFICATES"),
    });
    platform.Install();
    var sdk = Lumora.SharedInstance();
    sdk.InitializeWithTarrowID("acme", "s3cret");
    Settle(platform);

    var samples = new double[Rounds];
    for (var round = 0; round < Rounds; ++round) {
      var watch = Stopwatch.StartNew();
      for (var one = 0; one < Calls; ++one) {
        Call(sdk);
      }
      samples[round] = watch.Elapsed.TotalMilliseconds * 1e3 / Calls;
      Settle(platform);
    }
    var taken = samples.Skip(WarmUp).OrderBy(one => one).ToArray();
    Console.WriteLine(taken[taken.Length / 2].ToString(CultureInfo.InvariantCulture));
  }
}
