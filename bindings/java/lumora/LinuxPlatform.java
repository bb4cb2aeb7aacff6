package lumora;

import java.time.Duration;
import java.util.Objects;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionException;
import java.util.concurrent.Executor;
import java.util.concurrent.RejectedExecutionException;

/**
 * The Linux implementation of every platform service.
 *
 * <p>Made once, on the thread that is to be the main thread, before anything else of the library. A single-threaded
 * executor can be that thread:
 *
 * <pre>{@code
 * LinuxPlatformOptions options = new LinuxPlatformOptions();
 * options.setInfo(Map.of("CFBundleIdentifier", "com.example.shop", "CFBundleShortVersionString", "1.0"));
 * LinuxPlatform platform = LinuxPlatform.on(Executors.newSingleThreadExecutor(), options);
 * platform.install();
 * }</pre>
 *
 * <p>As an executor itself it runs tasks on the main thread. On another thread, what is for the main thread only is refused
 * with an {@link IllegalStateException}.
 */
public final class LinuxPlatform implements Executor {
  private static final Duration WITHOUT_END = Duration.ofDays(1);

  private final NativePlatform platform;
  private final MessageScreens screens;
  private volatile boolean isStopped;
  private boolean isRunning;

  /** The calling thread becomes the main thread: it calls {@link #run}, or {@link #runPending} again and again. */
  public LinuxPlatform(LinuxPlatformOptions options) {
    platform = new NativePlatform(Objects.requireNonNull(options, "options"));
    // The library keeps it until the process ends.
    platform.swigCMemOwn = false;
    screens = options.screens();
    Callbacks.begin();
  }

  /** Makes one whose main thread is that of a single-threaded executor, which runs the main queue from now on. */
  public static LinuxPlatform on(Executor executor, LinuxPlatformOptions options) {
    LinuxPlatform made = CompletableFuture.supplyAsync(() -> new LinuxPlatform(options), executor).join();
    Thread pump = new Thread(() -> made.pump(executor), "lumora-pump");
    pump.setDaemon(true);
    pump.start();
    return made;
  }

  /**
   * Names it as the library's platform; before everything else.
   *
   * @throws IllegalStateException when this is too late
   */
  public void install() {
    if (!platform.install()) {
      throw new IllegalStateException(
          "the library is in use already: install the platform once, before anything else");
    }
  }

  /** Has a task run on the main thread, soon. Any thread. */
  @Override
  public void execute(Runnable task) {
    platform.post(Objects.requireNonNull(task));
  }

  /** Runs the tasks that wait now, and gives how many they were. Main thread only; never blocks. */
  public long runPending() {
    platform.requireMainThread();
    return platform.runPending();
  }

  /** Runs tasks until {@link #stop} is called. Main thread only; not within itself, where one stop would end both. */
  public void run() {
    platform.requireMainThread();
    if (isRunning) {
      throw new IllegalStateException("run runs the main queue already");
    }
    isStopped = false;
    isRunning = true;
    try {
      while (!isStopped) {
        platform.waitForTasks(WITHOUT_END);
        platform.runPending();
      }
    } finally {
      isRunning = false;
    }
  }

  /** Lets {@link #run} return. Any thread. */
  public void stop() {
    execute(() -> isStopped = true);
  }

  /** Whether no task waits or runs, on the main queue or a thread of the library's. */
  public boolean isIdle() {
    return platform.isIdle();
  }

  /** The application goes out of view. Main thread only. */
  public void didEnterBackground() {
    platform.requireMainThread();
    platform.didEnterBackground();
  }

  /** The application comes back into view. Main thread only. */
  public void willEnterForeground() {
    platform.requireMainThread();
    platform.willEnterForeground();
  }

  /** The topmost message; 0 when none is shown. Main thread only. */
  public long shownMessage() {
    platform.requireMainThread();
    return screens == null ? 0 : screens.shown();
  }

  /**
   * The person tapped a part of a message, named as in the description's "elements". False when the message is not
   * shown, or has no such part that can be tapped. Main thread only.
   */
  public boolean tap(long message, String element) {
    platform.requireMainThread();
    Objects.requireNonNull(element, "element");
    return screens != null && screens.tap(message, element);
  }

  private void pump(Executor executor) {
    try {
      while (true) {
        platform.waitForTasks(WITHOUT_END);
        CompletableFuture.runAsync(this::runPending, executor).join();
      }
    } catch (RejectedExecutionException exception) {
      // The executor has ended, and the main queue with it.
    } catch (CompletionException exception) {
      Callbacks.failed("executor", exception.getCause());
    }
  }
}
