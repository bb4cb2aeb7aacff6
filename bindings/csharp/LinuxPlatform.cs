using System;
using System.Threading;
using System.Threading.Tasks;

namespace LumoraSdk {
  /// <summary>The Linux implementation of every platform service.</summary>
  /// <remarks>Made once, on the thread that is to be the main thread, before anything else of the library. Elsewhere, what
  /// is for the main thread only is refused with an InvalidOperationException.</remarks>
  /// <example><code>
  /// var platform = new LinuxPlatform(new LinuxPlatformOptions {
  ///   Info = new Dictionary&lt;string, string&gt; {
  ///     ["CFBundleIdentifier"] = "com.example.shop", ["CFBundleShortVersionString"] = "1.0" } });
  /// platform.Install();
  /// platform.Run(Shop);  // An async method: its continuations run on the main thread.
  /// </code></example>
  public sealed class LinuxPlatform {
    private static readonly TimeSpan WithoutEnd = TimeSpan.FromDays(1);

    private readonly NativePlatform platform;
    private readonly MessageScreens screens;
    private volatile bool isStopped;
    private bool isRunning;

    /// <summary>The calling thread becomes the main thread.</summary>
    public LinuxPlatform(LinuxPlatformOptions options) {
      platform = new NativePlatform(options ?? throw new ArgumentNullException(nameof(options)));
      // The library keeps it until the process ends.
      GC.SuppressFinalize(platform);
      screens = options.Screens;
      Callbacks.Begin();
    }

    /// <summary>Names it as the library's platform; before everything else. An InvalidOperationException says that this
    /// is too late.</summary>
    public void Install() {
      if (!platform.Install()) {
        throw new InvalidOperationException(
          "the library is in use already: install the platform once, before anything else");
      }
    }

    /// <summary>Has a task run on the main thread, soon. Any thread.</summary>
    public void Post(Action task) {
      platform.Post(task ?? throw new ArgumentNullException(nameof(task)));
    }

    /// <summary>Runs the tasks that wait now, and gives how many they were. Main thread only; never blocks.</summary>
    public long RunPending() {
      platform.RequireMainThread();
      return platform.RunPending();
    }

    /// <summary>Runs tasks until <see cref="Stop"/> is called. Main thread only; not within another Run.</summary>
    public void Run() {
      AsOnlyLoop(() => RunUntil(() => false));
    }

    /// <summary>Runs an async function and the main queue until the function has ended. What follows an await runs on
    /// the main thread, and an exception is thrown on. Main thread only.</summary>
    /// <remarks><see cref="Stop"/> lets it return earlier: the function stays where it waits, and what follows runs once
    /// the main queue runs again.</remarks>
    public void Run(Func<Task> function) {
      if (function == null) {
        throw new ArgumentNullException(nameof(function));
      }
      AsOnlyLoop(() => RunWithContext(function));
    }

    /// <summary>Lets <see cref="Run()"/> return. Any thread.</summary>
    public void Stop() {
      Post(() => isStopped = true);
    }

    /// <summary>From now on a loop that has a context, such as a window system's, runs the main queue: the one of the
    /// calling thread, which must be the main thread.</summary>
    public void Attach() {
      RequireNoLoop();
      var context = SynchronizationContext.Current ?? throw new InvalidOperationException("the thread has no context");
      var pump = new Thread(() => Pump(context)) { IsBackground = true, Name = "lumora-pump" };
      pump.Start();
    }

    /// <summary>Whether no task waits or runs, on the main queue or a thread of the library's.</summary>
    public bool IsIdle {
      get { return platform.IsIdle(); }
    }

    /// <summary>The application goes out of view. Main thread only.</summary>
    public void DidEnterBackground() {
      platform.RequireMainThread();
      platform.DidEnterBackground();
    }

    /// <summary>The application comes back into view. Main thread only.</summary>
    public void WillEnterForeground() {
      platform.RequireMainThread();
      platform.WillEnterForeground();
    }

    /// <summary>The topmost message; 0 when none is shown. Main thread only.</summary>
    public long ShownMessage {
      get {
        platform.RequireMainThread();
        return screens == null ? 0 : screens.Shown;
      }
    }

    /// <summary>The person tapped a part of a message, named as in the description's "elements". False when the message
    /// is not shown, or has no such part that can be tapped. Main thread only.</summary>
    public bool Tap(long message, string element) {
      platform.RequireMainThread();
      if (element == null) {
        throw new ArgumentNullException(nameof(element));
      }
      return screens != null && screens.Tap(message, element);
    }

    private void RunWithContext(Func<Task> function) {
      var earlier = SynchronizationContext.Current;
      SynchronizationContext.SetSynchronizationContext(new MainQueue(this));
      try {
        var task = function() ?? throw new InvalidOperationException("the function has given no task");
        task.ContinueWith(ended => Post(() => {}), TaskScheduler.Default);
        RunUntil(() => task.IsCompleted);
        if (task.IsCompleted) {
          task.GetAwaiter().GetResult();
        }
      } finally {
        SynchronizationContext.SetSynchronizationContext(earlier);
      }
    }

    private void RunUntil(Func<bool> hasEnded) {
      isStopped = false;
      while (!isStopped && !hasEnded()) {
        platform.WaitForTasks(WithoutEnd);
        platform.RunPending();
      }
    }

    private void AsOnlyLoop(Action run) {
      RequireNoLoop();
      isRunning = true;
      try {
        run();
      } finally {
        isRunning = false;
      }
    }

    /// <summary>One stop would end two loops, and what a loop within a loop waits for may wait for the outer one.</summary>
    private void RequireNoLoop() {
      platform.RequireMainThread();
      if (isRunning) {
        throw new InvalidOperationException("Run runs the main queue already");
      }
    }

    private void Pump(SynchronizationContext context) {
      try {
        while (true) {
          platform.WaitForTasks(WithoutEnd);
          context.Send(state => RunPending(), null);
        }
      } catch (Exception exception) {
        // The loop has ended, and the main queue with it.
        Callbacks.Tell("attached loop", exception);
      }
    }

    private sealed class MainQueue : SynchronizationContext {
      private readonly LinuxPlatform platform;
      internal MainQueue(LinuxPlatform platform) { this.platform = platform; }
      public override void Post(SendOrPostCallback callback, object state) { platform.Post(() => callback(state)); }
      public override SynchronizationContext CreateCopy() { return this; }

      public override void Send(SendOrPostCallback callback, object state) {
        if (Current == this) {
          callback(state);
          return;
        }
        using (var done = new ManualResetEventSlim()) {
          platform.Post(() => {
            try {
              callback(state);
            } finally {
              done.Set();
            }
          });
          done.Wait();
        }
      }
    }
  }
}
