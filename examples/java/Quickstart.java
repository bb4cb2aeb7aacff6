// A host in Java, with a thread of its own for the library. It shows messages as text, and taps their first button.
//
//     java -cp lumora.jar Quickstart.java [ADDRESS CERTIFICATE]
//
// The arguments are those of a service on this machine, as lumora-service tells them.

import java.time.Duration;
import java.util.List;
import java.util.Map;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import lumora.LinuxPlatform;
import lumora.LinuxPlatformOptions;
import lumora.Lumora;
import lumora.LumoraActionMetaData;
import lumora.LumoraError;
import lumora.LumoraLead;
import lumora.LumoraObserver;
import lumora.MessageDisplay;

public class Quickstart {
  private static LinuxPlatform platform;

  static class Watcher extends LumoraObserver {
    @Override
    public void initialized() {
      System.out.println("initialised");
    }

    @Override
    public void initializationFailed(LumoraError error) {
      System.out.println("not initialised: " + error.getReason() + " " + error.getMessage());
    }

    @Override
    public void uploadFinished(LumoraObserver.Upload upload) {
      System.out.println(upload.getEvents() + " events took " + upload.getDuration().toMillis() + " ms");
    }
  }

  static class TextScreens implements MessageDisplay {
    @Override
    public void show(long message, Map<String, Object> description) {
      System.out.println("message: " + description.get("elements"));
      platform.execute(() -> platform.tap(message, "primary_button"));
    }

    @Override
    public void dismiss(long message) {
      System.out.println("the message is gone");
    }
  }

  public static void main(String[] arguments) throws InterruptedException {
    LinuxPlatformOptions options = new LinuxPlatformOptions();
    options.setInfo(Map.of("CFBundleIdentifier", "com.example.shop", "CFBundleShortVersionString", "1.0"));
    options.setMessageDisplay(new TextScreens());
    options.setURLOpener(url -> {
      System.out.println("opens " + url);
      return true;
    });
    if (arguments.length == 2) {
      options.setConnectTo(arguments[0]);
      options.setCertificateAuthorityFile(arguments[1]);
    }

    ExecutorService mainThread = Executors.newSingleThreadExecutor();
    platform = LinuxPlatform.on(mainThread, options);
    platform.install();

    Lumora sdk = Lumora.sharedInstance();
    sdk.setObserver(new Watcher());
    sdk.initializeWithTarrowID("acme", "s3cret");

    LumoraActionMetaData level = new LumoraActionMetaData();
    level.setType("tutorial");
    level.setMetric(12.5);
    Map<String, Object> details = level.getActionMetadata();
    details.put("pauses", List.of(3, 4));
    level.setActionMetadata(details);
    sdk.reportAction("level_done", level);

    LumoraLead ada = new LumoraLead();
    ada.setEmail("ada@example.com");
    sdk.associateLead(ada);
    Thread.sleep(2000);
    sdk.reportAction("profile_created");
    Thread.sleep(1000);
    System.out.println(sdk.flush(Duration.ofSeconds(5)) ? "all is sent" : "the rest is sent by the next run");
    mainThread.shutdown();
  }
}
