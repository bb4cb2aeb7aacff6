// Callbacks while the collector runs all the time, threads that report, and an end in the middle of it all.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Threading;
using LumoraSdk;

static class Stress {
  // No more than 1000 actions wait; the library drops the others.
  const int Threads = 8, Actions = 100, Callbacks = 10000;
  static long lines;
  static LinuxPlatform platform;
  static Lumora sdk;

  class Observer : LumoraObserver {}

  static void Make() {
    platform = new LinuxPlatform(new LinuxPlatformOptions {
      Info = new Dictionary<string, string> {
        ["CFBundleIdentifier"] = "com.example.stress", ["CFBundleShortVersionString"] = "1.0" },
      ConnectTo = Environment.GetEnvironmentVariable("LUMORA_CONNECT_TO"),
      CertificateAuthorityFile = Environment.GetEnvironmentVariable("LUMORA_CERTIFICATES"),
      LogSink = line => {
        Interlocked.Add(ref lines, line.Length);
        if (line.Contains("shutdown")) {
          Console.Error.WriteLine(line);
        }
      },
    });
    platform.Install();
    sdk = Lumora.SharedInstance();
    sdk.InitializeWithTarrowID("acme", "s3cret");
  }

  static void Report(object thread, int number) {
    var details = new LumoraActionMetaData();
    details.SetKey("number", thread + " " + number);
    sdk.ReportAction("stress", details);
  }

  static void ReportFrom(int thread, int count) {
    for (var number = 0; number < count; ++number) {
      Report(thread, number);
    }
  }

  static Thread Start(Action action) {
    var thread = new Thread(() => action()) { IsBackground = true };
    thread.Start();
    return thread;
  }

  static void Collect() {
    while (true) {
      GC.Collect();
      Thread.Sleep(1);  // It stops every thread by a signal; they would not come to anything else.
    }
  }

  static int Called(int count) {
    var called = 0;
    for (var number = 0; number < count; ++number) {
      platform.Post(() => ++called);
      if (number % 100 == 0) {
        sdk.SetObserver(new Observer());
        platform.RunPending();
      }
    }
    platform.RunPending();
    return called;
  }

  static int Memory() {
    var line = File.ReadLines("/proc/self/status").First(one => one.StartsWith("VmHWM:"));
    return int.Parse(line.Split(new[] { ' ', '\t' }, StringSplitOptions.RemoveEmptyEntries)[1]);
  }

  // All that is reported is at the service when the host ends, and the memory does not grow.
  static void Host() {
    Make();
    Start(Collect);
    var reporters = Enumerable.Range(0, Threads).Select(one => Start(() => ReportFrom(one, Actions))).ToList();
    var called = Called(Callbacks / 2);
    var before = Memory();
    called += Called(Callbacks / 2);
    var grown = Memory() - before;
    reporters.ForEach(one => one.Join());
    Console.WriteLine(grown + " KiB more");
    if (called != Callbacks || grown > 16384 || !sdk.Flush(TimeSpan.FromSeconds(60))) {
      throw new Exception(called + " callbacks");
    }
  }

  // The main thread ends while threads report, the log calls back, and nobody waits for them. They pause only when
  // the library has ended: Mono aborts now and then when it suspends threads that come out of native calls, whichever
  // library's they are.
  static void Ending(string name) {
    Make();
    var started = new Barrier(Threads + 1);
    var paused = new CountdownEvent(Threads);
    var room = new SemaphoreSlim(1000);  // More would wait with each RunPending than with the last.
    var hasEnded = false;
    AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => {
      Volatile.Write(ref hasEnded, true);
      paused.Wait(TimeSpan.FromSeconds(10));
    };
    Start(Collect);
    foreach (var one in Enumerable.Range(0, Threads)) {
      Start(() => {
        started.SignalAndWait();
        ReportFrom(one, 20);
        while (!Volatile.Read(ref hasEnded)) {
          sdk.ReportAction("");  // Each writes a line, which calls C# back.
          if (room.Wait(0)) {
            platform.Post(() => room.Release());
          }
        }
        paused.Signal();
        Thread.Sleep(Timeout.Infinite);
      });
    }
    started.SignalAndWait();
    for (var number = 0; number < 100; ++number) {
      Report(name, number);
      platform.RunPending();
    }
    Environment.Exit(0);
  }

  static void NextRun() {
    Make();
    if (!sdk.Flush(TimeSpan.FromSeconds(60))) {
      throw new Exception("not flushed");
    }
  }

  static void Main(string[] arguments) {
    switch (arguments[0]) {
      case "host":
        Host();
        break;
      case "ending":
        Ending(arguments[1]);
        break;
      default:
        NextRun();
        break;
    }
  }
}
