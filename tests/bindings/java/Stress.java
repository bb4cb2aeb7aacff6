import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BrokenBarrierException;
import java.util.concurrent.CyclicBarrier;
import java.util.concurrent.Semaphore;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.concurrent.locks.LockSupport;
import lumora.LinuxPlatform;
import lumora.LinuxPlatformOptions;
import lumora.Lumora;
import lumora.LumoraActionMetaData;
import lumora.LumoraObserver;

/** Callbacks while the collector runs all the time, threads that report, and an end in the middle of it all. */
public class Stress {
  // No more than 1000 actions wait; the library drops the others.
  private static final int THREADS = 8;
  private static final int ACTIONS = 100;
  private static final int CALLBACKS = 10000;
  private static final AtomicInteger lines = new AtomicInteger();
  private static LinuxPlatform platform;
  private static Lumora sdk;

  private static void make() {
    LinuxPlatformOptions options = new LinuxPlatformOptions();
    options.setInfo(Map.of("CFBundleIdentifier", "com.example.stress", "CFBundleShortVersionString", "1.0"));
    options.setConnectTo(System.getenv("LUMORA_CONNECT_TO"));
    options.setCertificateAuthorityFile(System.getenv("LUMORA_CERTIFICATES"));
    options.setLogSink(line -> {
      lines.addAndGet(line.length());
      if (line.contains("shutdown")) {
        System.err.println(line);
      }
    });
    platform = new LinuxPlatform(options);
    platform.install();
    sdk = Lumora.sharedInstance();
    sdk.initializeWithTarrowID("acme", "s3cret");
  }

  private static void report(Object thread, int number) {
    LumoraActionMetaData details = new LumoraActionMetaData();
    details.setKey("number", thread + " " + number);
    sdk.reportAction("stress", details);
  }

  private static void reportFrom(int thread, int count) {
    for (int number = 0; number < count; ++number) {
      report(thread, number);
    }
  }

  private static Thread start(Runnable runnable) {
    Thread thread = new Thread(runnable);
    thread.setDaemon(true);
    thread.start();
    return thread;
  }

  private static void collect() {
    while (true) {
      System.gc();
      LockSupport.parkNanos(1_000_000); // It stops every thread; they would not come to anything else.
    }
  }

  private static void callbacks(int count, AtomicInteger called) {
    for (int number = 0; number < count; ++number) {
      platform.execute(called::incrementAndGet);
      if (number % 100 == 0) {
        sdk.setObserver(new LumoraObserver() {});
        platform.runPending();
      }
    }
    platform.runPending();
  }

  private static int memory() throws Exception {
    String status = Files.readString(Path.of("/proc/self/status"));
    return Integer.parseInt(status.replaceAll("(?s).*VmHWM:\\s*(\\d+) kB.*", "$1"));
  }

  /** All that is reported is at the service when the host ends, and the memory does not grow. */
  private static void host() throws Exception {
    make();
    start(Stress::collect);
    List<Thread> reporters = new ArrayList<>();
    for (int one = 0; one < THREADS; ++one) {
      int thread = one;
      reporters.add(start(() -> reportFrom(thread, ACTIONS)));
    }
    AtomicInteger called = new AtomicInteger();
    callbacks(CALLBACKS / 2, called);
    int before = memory();
    callbacks(CALLBACKS / 2, called);
    int grown = memory() - before;
    for (Thread one : reporters) {
      one.join();
    }
    System.out.println(grown + " KiB more");
    if (called.get() != CALLBACKS || grown > 16384 || !sdk.flush(Duration.ofSeconds(60))) {
      throw new AssertionError(called + " callbacks");
    }
  }

  /** The main thread ends while threads report, the log calls back, and nobody waits for them. */
  private static void ending(String name) throws Exception {
    make();
    CyclicBarrier started = new CyclicBarrier(THREADS + 1);
    Semaphore room = new Semaphore(1000); // More would wait with each runPending than with the last.
    start(Stress::collect);
    for (int one = 0; one < THREADS; ++one) {
      int thread = one;
      start(() -> {
        await(started);
        reportFrom(thread, 20);
        while (true) {
          sdk.reportAction(""); // Each writes a line, which calls Java back.
          if (room.tryAcquire()) {
            platform.execute(room::release);
          }
        }
      });
    }
    await(started);
    for (int number = 0; number < 100; ++number) {
      report(name, number);
      platform.runPending();
    }
    System.exit(0);
  }

  private static void await(CyclicBarrier barrier) {
    try {
      barrier.await();
    } catch (InterruptedException | BrokenBarrierException exception) {
      throw new IllegalStateException(exception);
    }
  }

  private static void nextRun() {
    make();
    if (!sdk.flush(Duration.ofSeconds(60))) {
      throw new AssertionError("not flushed");
    }
  }

  public static void main(String[] arguments) throws Exception {
    switch (arguments[0]) {
      case "host" -> host();
      case "ending" -> ending(arguments[1]);
      default -> nextRun();
    }
  }
}
