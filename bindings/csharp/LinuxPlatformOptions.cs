using System;
using System.Collections.Generic;
using System.IO;

namespace LumoraSdk {
  /// <summary>What a host tells the Linux platform about itself. Every option has a usable default.</summary>
  /// <remarks>What a callback throws is given to <see cref="Callbacks.Failed"/> and goes no further. The callbacks are
  /// kept until <see cref="Lumora.Shutdown"/>, and none is called once the program ends.</remarks>
  public class LinuxPlatformOptions : NativeOptions {
    private const string Page = "LMRResources.bundle/LMRInApp.html";
    private static readonly Lazy<string> Resources = new Lazy<string>(WriteResources);

    private Action<NotificationRequest, Action<string>> scheduler;
    private Action<LocalNotification> localScheduler;

    public LinuxPlatformOptions() {
      ResourcesDirectory = Resources.Value;
    }

    internal MessageScreens Screens { get; private set; }

    /// <summary>Gets each line of the log. It is called on any thread, also while the library holds locks of its own,
    /// so it must not call the library.</summary>
    public Action<string> LogSink {
      set { SetLogWriter(new Writer(value)); }
    }

    /// <summary>Gets a link that a tap opens; gives whether it could be opened. Main thread.</summary>
    public Func<string, bool> URLOpener {
      set { SetNativeURLOpener(new Opener(value)); }
    }

    /// <summary>Gets an alert; the person's answer goes to its Press. Main thread.</summary>
    public Action<Alert> AlertPresenter {
      set { SetNativeAlertPresenter(new Presenter(value)); }
    }

    /// <summary>Gets a notification, and a function that is to be called once, with null or with why the notification
    /// could not be scheduled. Main thread.</summary>
    public Action<NotificationRequest, Action<string>> NotificationScheduler {
      set {
        scheduler = value;
        SetNativeNotificationScheduler(new Scheduler(this));
      }
    }

    /// <summary>Gets a notification, with a system version before 10. Main thread.</summary>
    public Action<LocalNotification> LocalNotificationScheduler {
      set {
        localScheduler = value;
        SetNativeNotificationScheduler(new Scheduler(this));
      }
    }

    /// <summary>Draws in-app messages. Main thread.</summary>
    public IMessageDisplay MessageDisplay {
      set {
        Screens = Native.ScreensOf(new Display(value));
        SetMessageScreens(Screens);
      }
    }

    /// <summary>The page that draws messages, in a folder that goes when the program ends.</summary>
    private static string WriteResources() {
      var folder = Path.Combine(Path.GetTempPath(), "lumora-" + Guid.NewGuid().ToString("N"));
      var page = Path.Combine(folder, Page);
      Directory.CreateDirectory(Path.GetDirectoryName(page));
      using (var from = typeof(LinuxPlatformOptions).Assembly.GetManifestResourceStream(Path.GetFileName(Page)))
      using (var to = File.Create(page)) {
        from.CopyTo(to);
      }
      AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => Directory.Delete(folder, true);
      return folder;
    }

    private sealed class Writer : LogWriter {
      private readonly Action<string> sink;
      internal Writer(Action<string> sink) { this.sink = sink ?? throw new ArgumentNullException(nameof(sink)); }
      public override void Write(string message) { sink(message); }
    }

    private sealed class Opener : LumoraSdk.URLOpener {
      private readonly Func<string, bool> opener;
      internal Opener(Func<string, bool> opener) {
        this.opener = opener ?? throw new ArgumentNullException(nameof(opener));
      }
      public override bool Open(string url) { return opener(url); }
    }

    private sealed class Presenter : LumoraSdk.AlertPresenter {
      private readonly Action<Alert> presenter;
      internal Presenter(Action<Alert> presenter) {
        this.presenter = presenter ?? throw new ArgumentNullException(nameof(presenter));
      }
      public override void Show(Alert alert) { presenter(alert); }
    }

    private sealed class Scheduler : LumoraSdk.NotificationScheduler {
      private readonly LinuxPlatformOptions options;
      internal Scheduler(LinuxPlatformOptions options) { this.options = options; }

      public override void Schedule(NotificationRequest request, Completion completion) {
        if (options.scheduler == null) {
          completion.Finish("the host schedules no notifications");
        } else {
          options.scheduler(request, completion.Finish);
        }
      }

      public override void ScheduleLocal(LocalNotification notification) {
        options.localScheduler?.Invoke(notification);
      }
    }

    private sealed class Display : NativeDisplay {
      private readonly IMessageDisplay display;
      internal Display(IMessageDisplay display) {
        this.display = display ?? throw new ArgumentNullException(nameof(display));
      }
      public override void Show(long message, IDictionary<string, object> description) {
        display.Show(message, description);
      }
      public override void Dismiss(long message) { display.Dismiss(message); }
    }
  }
}
