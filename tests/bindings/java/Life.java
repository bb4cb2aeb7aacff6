import java.math.BigInteger;
import java.time.Duration;
import java.time.Instant;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.function.BooleanSupplier;
import java.util.logging.Handler;
import java.util.logging.LogRecord;
import java.util.logging.Logger;
import lumora.LMRSecuritySignature;
import lumora.LinuxPlatform;
import lumora.LinuxPlatformOptions;
import lumora.Lumora;
import lumora.LumoraActionMetaData;
import lumora.LumoraError;
import lumora.LumoraLead;
import lumora.LumoraObserver;
import lumora.LumoraStatus;
import lumora.MessageDisplay;
import lumora.NotificationRequest;

/** A host's whole life in Java, from the first launch to the end; life_test.py knows what the service holds then. */
public class Life {
  private static final String ODD_TEXT = "né 🎉 \0 end";
  private static final Instant WHEN = Instant.parse("2026-02-03T04:05:06.789Z");
  private static final Map<String, Object> PAYLOAD =
      Map.of("vs", Map.of("cid", "spring", "a", "https://acme.example/spring"), "aps", Map.of("alert", "Spring!"));

  private static final List<String> told = new CopyOnWriteArrayList<>();
  private static final List<String> opened = new CopyOnWriteArrayList<>();
  private static final List<String> lines = new CopyOnWriteArrayList<>();
  private static final List<NotificationRequest> requests = new CopyOnWriteArrayList<>();
  private static final List<Object> drawn = new CopyOnWriteArrayList<>();
  private static final Set<Thread> threads = ConcurrentHashMap.newKeySet();
  private static LinuxPlatform platform;

  private static class Watcher extends LumoraObserver {
    @Override
    public void initialized() {
      told.add("initialized");
      threads.add(Thread.currentThread());
    }

    @Override
    public void messageShown(String campaignId) {
      told.add("shown " + campaignId);
    }

    @Override
    public void messageDismissed(String campaignId) {
      told.add("dismissed " + campaignId);
      throw new IllegalStateException("of an observer");
    }
  }

  private static class Screens implements MessageDisplay {
    @Override
    public void show(long message, Map<String, Object> description) {
      Map<?, ?> elements = (Map<?, ?>) description.get("elements");
      drawn.add(((Map<?, ?>) elements.get("primary_text")).get("text"));
      platform.execute(() -> drawn.add(platform.tap(message, "primary_button")));
    }

    @Override
    public void dismiss(long message) {
      drawn.add(message);
    }
  }

  private static void check(boolean isGood, Object told) {
    if (!isGood) {
      throw new AssertionError(told);
    }
  }

  private static void until(BooleanSupplier condition) throws InterruptedException {
    while (!condition.getAsBoolean()) {
      Thread.sleep(10);
    }
  }

  private static void refused(Object value) {
    try {
      new LumoraActionMetaData().setActionMetadata(Collections.singletonMap("value", value));
    } catch (IllegalArgumentException exception) {
      return;
    }
    throw new AssertionError("should have been refused: " + value.getClass());
  }

  private static void refused(Class<? extends Exception> wanted, Runnable call) {
    try {
      call.run();
    } catch (RuntimeException exception) {
      check(wanted.isInstance(exception), exception);
      return;
    }
    throw new AssertionError("should have been refused with " + wanted);
  }

  private static Map<String, Object> nested(int levels) {
    return levels == 1 ? Map.of() : Map.of("deeper", nested(levels - 1));
  }

  private static Map<String, Object> nested() {
    Map<String, Object> nested = new HashMap<>(Map.of("text", ODD_TEXT, "number", -3L, "large",
        BigInteger.ONE.shiftLeft(63), "part", 0.5, "yes", true, "list", List.of(1L, List.of(2L, Map.of("three", "3"))),
        "map", Map.of("a", Map.of("b", List.of(false)))));
    nested.put("nothing", null);
    return nested;
  }

  private static void tryValues() {
    List<Object> endless = new ArrayList<>();
    endless.add(endless);
    for (Object value : List.of("lone \ud800", new Object(), BigInteger.ONE.shiftLeft(64), Instant.MAX, endless,
        Map.of(1, 2), nested(511))) {
      refused(value);
    }
    LumoraActionMetaData details = new LumoraActionMetaData();
    for (Object value : Arrays.asList(null, true, Long.MIN_VALUE, BigInteger.TWO.pow(64).subtract(BigInteger.ONE), 0.1,
        ODD_TEXT, WHEN, List.of(List.of(), Map.of()), nested())) {
      details.setActionMetadata(Collections.singletonMap("value", value));
      check(details.getActionMetadata().equals(Collections.singletonMap("value", value)), value);
    }
    details.setActionMetadata(nested(511));
    byte[] data = {0, -1};
    details.setActionMetadata(Map.of("value", data));
    check(Arrays.equals((byte[]) details.getActionMetadata().get("value"), data), "bytes");
  }

  private static LinuxPlatformOptions options() {
    LinuxPlatformOptions options = new LinuxPlatformOptions();
    options.setInfo(Map.of("CFBundleIdentifier", "com.example.tést", "CFBundleShortVersionString", "1.0"));
    options.setConnectTo(System.getenv("LUMORA_CONNECT_TO"));
    options.setCertificateAuthorityFile(System.getenv("LUMORA_CERTIFICATES"));
    return options;
  }

  private static void host() throws InterruptedException {
    List<Throwable> logged = new CopyOnWriteArrayList<>();
    Logger logger = Logger.getLogger("lumora");
    logger.addHandler(new Handler() {
      @Override
      public void publish(LogRecord record) {
        logged.add(record.getThrown());
      }

      @Override
      public void flush() {}

      @Override
      public void close() {}
    });

    LinuxPlatformOptions options = options();
    options.setLogSink(lines::add);
    options.setURLOpener(opened::add);
    options.setMessageDisplay(new Screens());
    options.setNotificationScheduler((request, done) -> {
      requests.add(request);
      done.accept(null);
    });
    Thread[] mainThread = new Thread[1];
    ExecutorService executor = Executors.newSingleThreadExecutor(task -> {
      mainThread[0] = new Thread(task);
      mainThread[0].setDaemon(true); // A failed test ends.
      return mainThread[0];
    });
    platform = LinuxPlatform.on(executor, options);
    platform.install();
    tryValues();

    Lumora sdk = Lumora.sharedInstance();
    sdk.setObserver(null);
    refused(NullPointerException.class, () -> platform.execute(null));
    refused(IllegalStateException.class, platform::install);
    refused(NullPointerException.class, () -> sdk.notificationTapped(null));
    for (Runnable call : List.<Runnable>of(platform::run, platform::runPending, platform::didEnterBackground,
        platform::shownMessage, () -> platform.tap(1, "x"), () -> sdk.openURL("a://b"))) {
      refused(IllegalStateException.class, call);
    }
    sdk.setObserver(new Watcher());
    sdk.initializeWithTarrowID("acme", "s3cret");
    until(() -> told.contains("initialized"));
    check(threads.equals(Set.of(mainThread[0])), threads);

    // Secure mode holds everything back until there is a signature.
    check(sdk.isSecureModeEnabled(), "secure mode");
    LumoraActionMetaData details = new LumoraActionMetaData();
    details.setType("purchase");
    details.setMetric(12.5);
    Map<String, Object> all = details.getActionMetadata();
    all.putAll(nested());
    details.setActionMetadata(all);
    sdk.reportAction("checkout", details);
    details.setActionMetadata(Map.of()); // What was reported is a copy, and so below.
    check(!sdk.flush(Duration.ofSeconds(20)), "flushed without a signature");
    check(LMRSecuritySignature.initWithAccessKey("key", "signed", null, "ada@example.com") == null, "signature");
    LMRSecuritySignature signature = LMRSecuritySignature.initWithAccessKey("key", "signed", "1", "ada@example.com");
    check(signature.getEmail().equals("ada@example.com"), signature.getEmail());
    sdk.setSecureSignature(signature);

    LumoraLead lead = new LumoraLead();
    lead.setEmail("ada@example.com");
    lead.setFieldName("plan", ODD_TEXT);
    lead.setCity(null);
    check(lead.getUserAttributes().equals(Map.of("email", "ada@example.com", "plan", ODD_TEXT)), "lead");
    sdk.associateLead(lead);
    lead.setUserAttributes(Map.of());
    sdk.startSession("visit");
    check(sdk.flush(Duration.ofSeconds(20)), "not flushed"); // It has begun.
    Thread.sleep(1100); // A session's time goes by the clock of the system.
    sdk.endSession("visit");

    sdk.registerPushDeviceToken(new byte[] {0, 1, -2, -1});
    check(sdk.flush(Duration.ofSeconds(20)), "not flushed");
    check(sdk.isPushRegistered() && sdk.getPushDeviceToken().equals("0001feff"), sdk.getPushDeviceToken());
    sdk.handlePushNotification(PAYLOAD);
    until(() -> !requests.isEmpty());
    boolean[] isAnswered = new boolean[1];
    sdk.notificationTapped(requests.get(0), () -> isAnswered[0] = true);
    check(isAnswered[0], "no answer");
    until(() -> !opened.isEmpty());

    sdk.reportAction("profile_created");
    until(() -> told.contains("dismissed welcome") && opened.size() == 2);
    check(sdk.flush(Duration.ofSeconds(20)), "not flushed");
    LumoraStatus status = sdk.status();
    check(status.isInitialized() && status.getWaitingEvents() == 0 && status.getLastUpload() != null, "status");
    check(status.getLastError().getOperation() == LumoraStatus.Operation.UPLOAD, "operation");
    check(status.getLastError().getError().getReason() == LumoraError.Reason.SIGNATURE_MISSING, "reason");

    check(drawn.get(0).equals("Welcome to base camp") && drawn.contains(true), drawn);
    check(told.contains("shown welcome"), told);
    check(opened.equals(List.of("https://acme.example/spring", "https://acme.example/welcome")), opened);
    check(lines.stream().anyMatch(line -> line.startsWith("LumoraSDK-")), lines);
    check(logged.stream().anyMatch(one -> one instanceof IllegalStateException), logged);
    // Nothing waits for this one: it is stored at the end, and sent by the next run.
    sdk.reportAction("last_words");
    executor.shutdown();
  }

  private static void nextRun() {
    new LinuxPlatform(options()).install();
    Lumora sdk = Lumora.sharedInstance();
    sdk.initializeWithTarrowID("acme", "s3cret");
    check(sdk.flush(Duration.ofSeconds(20)), "not flushed");
  }

  public static void main(String[] arguments) throws InterruptedException {
    if (arguments[0].equals("host")) {
      host();
    } else {
      nextRun();
    }
  }
}
