// What an action with four details costs its caller's thread in Java: prints the median, in microseconds.

import java.util.Arrays;
import java.util.Map;
import lumora.LinuxPlatform;
import lumora.LinuxPlatformOptions;
import lumora.Lumora;
import lumora.LumoraActionMetaData;

public class CallCost {
  private static final int CALLS = 50;
  private static final int ROUNDS = 400;
  private static final int WARM_UP = 200;

  private static void call(Lumora sdk) {
    LumoraActionMetaData details = new LumoraActionMetaData();
    details.setType("purchase");
    details.setDetails("It's the \"summer\" coupon – 20 %");
    details.setMetric(12.5);
    details.setKey("item", "boots");
    sdk.reportAction("checkout", details);
  }

  private static void settle(LinuxPlatform platform) throws InterruptedException {
    while (!platform.isIdle()) {
      platform.runPending();
      Thread.sleep(1);
    }
  }

  public static void main(String[] arguments) throws InterruptedException {
    LinuxPlatformOptions options = new LinuxPlatformOptions();
    options.setInfo(Map.of("CFBundleIdentifier", "com.example.bench", "CFBundleShortVersionString", "1.0"));
    options.setLogSink(line -> {});
    options.setConnectTo(System.getenv("LUMORA_CONNECT_TO"));
    options.setCertificateAuthorityFile(System.getenv("LUMORA_CERTIFICATES"));
    LinuxPlatform platform = new LinuxPlatform(options);
    platform.install();
    Lumora sdk = Lumora.sharedInstance();
    sdk.initializeWithTarrowID("acme", "s3cret");
    settle(platform);

    double[] samples = new double[ROUNDS];
    for (int round = 0; round < ROUNDS; ++round) {
      long begin = System.nanoTime();
      for (int one = 0; one < CALLS; ++one) {
        call(sdk);
      }
      samples[round] = (System.nanoTime() - begin) / 1e3 / CALLS;
      settle(platform);
    }
    double[] taken = Arrays.copyOfRange(samples, WARM_UP, ROUNDS);
    Arrays.sort(taken);
    System.out.println(taken[taken.length / 2]);
  }
}
