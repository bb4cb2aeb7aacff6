// A host's whole life in C#, from the first launch to the end; life_test.py knows what the service holds then.
using System;
using System.Collections.Generic;
using System.Collections.Concurrent;
using System.Globalization;
using System.Linq;
using System.Threading;
using System.Threading.Tasks;
using LumoraSdk;
using Map = System.Collections.Generic.Dictionary<string, object>;

static class Life {
  const string OddText = "né 🎉 \0 end";
  static readonly DateTimeOffset When = new DateTimeOffset(2026, 2, 3, 4, 5, 6, 789, TimeSpan.Zero);

  static readonly ConcurrentQueue<string> told = new ConcurrentQueue<string>();
  static readonly ConcurrentQueue<string> opened = new ConcurrentQueue<string>();
  static readonly ConcurrentQueue<string> lines = new ConcurrentQueue<string>();
  static readonly ConcurrentQueue<object> drawn = new ConcurrentQueue<object>();
  static readonly ConcurrentQueue<Exception> failures = new ConcurrentQueue<Exception>();
  static readonly ConcurrentQueue<NotificationRequest> requests = new ConcurrentQueue<NotificationRequest>();
  static LinuxPlatform platform;
  static Thread observed;

  class Watcher : LumoraObserver {
    public override void Initialized() {
      observed = Thread.CurrentThread;
      told.Enqueue("initialized");
    }

    public override void MessageShown(string campaignId) {
      told.Enqueue("shown " + campaignId);
    }

    public override void MessageDismissed(string campaignId) {
      told.Enqueue("dismissed " + campaignId);
      throw new InvalidOperationException("of an observer");
    }
  }

  class Screens : IMessageDisplay {
    public void Show(long message, IDictionary<string, object> description) {
      var elements = (IDictionary<string, object>) description["elements"];
      drawn.Enqueue(((IDictionary<string, object>) elements["primary_text"])["text"]);
      platform.Post(() => drawn.Enqueue(platform.Tap(message, "primary_button")));
    }

    public void Dismiss(long message) {
      drawn.Enqueue(message);
    }
  }

  static void Check(bool isGood, object told) {
    if (!isGood) {
      throw new Exception("not as expected: " + told);
    }
  }

  static async Task Until(Func<bool> condition) {
    while (!condition()) {
      await Task.Delay(10);
    }
  }

  static Task<bool> Flushed(Lumora sdk) {
    return Task.Run(() => sdk.Flush(TimeSpan.FromSeconds(20)));
  }

  static Map Nested() {
    return new Map {
      ["text"] = OddText, ["number"] = -3L, ["large"] = 1UL << 63, ["part"] = 0.5, ["yes"] = true, ["nothing"] = null,
      ["list"] = new List<object> { 1L, new List<object> { 2L, new Map { ["three"] = "3" } } },
      ["map"] = new Map { ["a"] = new Map { ["b"] = new List<object> { false } } },
    };
  }

  static string Shown(object value) {
    if (value is IDictionary<string, object> map) {
      return "{" + string.Join(", ", map.OrderBy(one => one.Key).Select(one => one.Key + ": " + Shown(one.Value))) + "}";
    }
    if (value is string || !(value is System.Collections.IEnumerable)) {
      return value == null ? "null" : value.GetType() + " " + Convert.ToString(value, CultureInfo.InvariantCulture);
    }
    return "[" + string.Join(", ", ((System.Collections.IEnumerable) value).Cast<object>().Select(Shown)) + "]";
  }

  static void TryValues() {
    var details = new LumoraActionMetaData();
    var endless = new List<object>();
    endless.Add(endless);
    foreach (var value in new[] { "lone \ud800", new object(), 1m, endless, new Dictionary<int, int> { [1] = 2 } }) {
      try {
        details.ActionMetadata = new Map { ["value"] = value };
      } catch (ArgumentException) {
        continue;
      }
      throw new Exception("should have been refused: " + value.GetType());
    }
    foreach (var value in new object[] { null, true, long.MinValue, ulong.MaxValue, 0.1, OddText, new byte[] { 0, 255 },
        When, new List<object> { new List<object>(), new Map() }, Nested() }) {
      details.ActionMetadata = new Map { ["value"] = value };
      Check(Shown(details.ActionMetadata["value"]) == Shown(value), Shown(details.ActionMetadata["value"]));
    }
  }

  static void Refused<T>(Action use) where T : Exception {
    try {
      use();
    } catch (T) {
      return;
    }
    throw new Exception("should have been refused with " + typeof(T));
  }

  static void TryRefusals() {
    var sdk = Lumora.SharedInstance();
    var details = new LumoraActionMetaData();
    details.Dispose();
    details.Dispose();
    Refused<ObjectDisposedException>(() => details.SetType("late"));
    Refused<ObjectDisposedException>(() => sdk.ReportAction("late", details));
    Refused<ArgumentNullException>(() => platform.Post(null));
    Refused<InvalidOperationException>(platform.Install);
    Refused<ArgumentNullException>(() => platform.Run(null));
    Refused<ArgumentNullException>(() => sdk.NotificationTapped(null));
    Refused<ArgumentOutOfRangeException>(() => sdk.SetTrackingConsent((Consent) 77));
    Refused<ArgumentOutOfRangeException>(() => new LinuxPlatformOptions().InitialState = (ApplicationState) (-1));
    Refused<ArgumentException>(() => new LumoraActionMetaData().SetMetric("1"));
    Task.Run(() => {
      foreach (var call in new Action[] { platform.Run, platform.Attach, platform.DidEnterBackground,
          () => platform.RunPending(), () => platform.Tap(1, "x"), () => sdk.OpenURL("a://b") }) {
        Refused<InvalidOperationException>(call);
      }
    }).Wait();
    sdk.SetObserver(null);
  }

  // It returns while the function waits, which goes on when the queue runs again.
  static void TryStop() {
    var steps = 0;
    var goOn = new TaskCompletionSource<bool>();
    platform.Run(async () => {
      ++steps;
      Refused<InvalidOperationException>(platform.Run);
      Refused<InvalidOperationException>(platform.Attach);
      platform.Stop();
      await goOn.Task;
      ++steps;
    });
    Check(steps == 1, steps);
    goOn.SetResult(true);
    while (steps == 1) {
      platform.RunPending();
    }
  }

  static LinuxPlatformOptions Options() {
    return new LinuxPlatformOptions {
      Info = new Dictionary<string, string> {
        ["CFBundleIdentifier"] = "com.example.tést", ["CFBundleShortVersionString"] = "1.0" },
      ConnectTo = Environment.GetEnvironmentVariable("LUMORA_CONNECT_TO"),
      CertificateAuthorityFile = Environment.GetEnvironmentVariable("LUMORA_CERTIFICATES"),
    };
  }

  static async Task Live() {
    var sdk = Lumora.SharedInstance();
    var mainThread = Thread.CurrentThread;
    using (var watcher = new Watcher()) {
      sdk.SetObserver(watcher);  // It stays all the same.
    }
    sdk.InitializeWithTarrowID("acme", "s3cret");
    await Until(() => told.Contains("initialized"));
    Check(observed == mainThread && Thread.CurrentThread == mainThread, "thread");

    // Secure mode holds everything back until there is a signature.
    Check(sdk.IsSecureModeEnabled, "secure mode");
    var details = new LumoraActionMetaData();
    details.SetType("purchase");
    details.SetMetric(12.5);
    details.ActionMetadata = details.ActionMetadata.Concat(Nested()).ToDictionary(one => one.Key, one => one.Value);
    sdk.ReportAction("checkout", details);
    details.ActionMetadata = new Map();  // What was reported is a copy, and so below.
    Check(!await Flushed(sdk), "flushed without a signature");
    Check(LMRSecuritySignature.InitWithAccessKey("key", "signed", null, "ada@example.com") == null, "signature");
    var signature = LMRSecuritySignature.InitWithAccessKey("key", "signed", "1", "ada@example.com");
    Check(signature.AccessKey == "key" && signature.Email == "ada@example.com", signature.Email);
    await Task.Run(() => sdk.SetSecureSignature(signature));

    var lead = new LumoraLead();
    lead.SetEmail("ada@example.com");
    lead.SetFieldName("plan", OddText);
    lead.SetCity(null);
    Check(Shown(lead.UserAttributes) == Shown(new Map { ["email"] = "ada@example.com", ["plan"] = OddText }), "lead");
    sdk.AssociateLead(lead);
    lead.UserAttributes = new Map();
    sdk.StartSession("visit");
    Check(await Flushed(sdk), "not flushed");  // It has begun.
    await Task.Delay(1100);  // A session's time goes by the clock of the system.
    sdk.EndSession("visit");

    sdk.RegisterPushDeviceToken(new byte[] { 0, 1, 254, 255 });
    Check(await Flushed(sdk), "not flushed");
    Check(sdk.IsPushRegistered && sdk.PushDeviceToken == "0001feff", sdk.PushDeviceToken);
    sdk.HandlePushNotification(new Map {
      ["vs"] = new Map { ["cid"] = "spring", ["a"] = "https://acme.example/spring" },
      ["aps"] = new Map { ["alert"] = "Spring!" } });
    await Until(() => !requests.IsEmpty);
    var isAnswered = false;
    sdk.NotificationTapped(requests.First(), () => isAnswered = true);
    Check(isAnswered, "no answer");
    await Until(() => !opened.IsEmpty);

    sdk.ReportAction("profile_created");
    await Until(() => told.Contains("dismissed welcome") && opened.Count == 2);
    Check(await Flushed(sdk), "not flushed");
    var status = sdk.Status();
    Check(status.IsInitialized && status.WaitingEvents == 0 && status.LastUpload != null, "status");
    Check(status.LastError.Operation == LumoraStatus.Operation.Upload, status.LastError.Operation);
    Check(status.LastError.Error.Reason == LumoraError.ErrorReason.SignatureMissing, status.LastError.Error.Reason);
  }

  static void Host() {
    Callbacks.Failed = (where, exception) => failures.Enqueue(exception);
    var options = Options();
    options.LogSink = lines.Enqueue;
    options.URLOpener = url => {
      opened.Enqueue(url);
      return true;
    };
    options.MessageDisplay = new Screens();
    options.NotificationScheduler = (request, done) => {
      requests.Enqueue(request);
      done(null);
    };
    platform = new LinuxPlatform(options);
    platform.Install();
    TryValues();
    TryRefusals();
    TryStop();
    platform.Run(Live);
    Check(drawn.First().Equals("Welcome to base camp") && drawn.Contains(true), string.Join(", ", drawn));
    Check(told.Contains("shown welcome"), string.Join(", ", told));
    Check(opened.SequenceEqual(new[] { "https://acme.example/spring", "https://acme.example/welcome" }), opened.Last());
    Check(lines.Any(line => line.StartsWith("LumoraSDK-")), "lines");
    Check(failures.Any(one => one is InvalidOperationException), "failures");
    // Nothing waits for this one: it is stored at the end, and sent by the next run.
    Lumora.SharedInstance().ReportAction("last_words");
  }

  // A loop as a window system has it.
  class Loop : SynchronizationContext {
    readonly BlockingCollection<Action> calls = new BlockingCollection<Action>();

    public override void Post(SendOrPostCallback callback, object state) {
      calls.Add(() => callback(state));
    }

    public override void Send(SendOrPostCallback callback, object state) {
      var done = new ManualResetEventSlim();
      Post(one => {
        callback(one);
        done.Set();
      }, state);
      done.Wait();
    }

    public void RunUntil(Func<bool> condition) {
      while (!condition()) {
        calls.Take()();
      }
    }
  }

  static void NextRun() {
    platform = new LinuxPlatform(Options());
    platform.Install();
    var loop = new Loop();
    SynchronizationContext.SetSynchronizationContext(loop);
    platform.Attach();
    var sdk = Lumora.SharedInstance();
    sdk.SetObserver(new Watcher());
    sdk.InitializeWithTarrowID("acme", "s3cret");
    loop.RunUntil(() => told.Contains("initialized"));
    Check(observed == Thread.CurrentThread, "thread");
    Check(sdk.Flush(TimeSpan.FromSeconds(20)), "not flushed");
  }

  static void Main(string[] arguments) {
    if (arguments[0] == "host") {
      Host();
    } else {
      NextRun();
    }
  }
}
