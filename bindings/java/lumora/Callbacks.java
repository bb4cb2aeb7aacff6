package lumora;

import java.time.Duration;

/** What callbacks have in common: where their exceptions end, and that none is called once the machine ends. */
final class Callbacks {
  private static boolean hasPlatform = false;

  private Callbacks() {}

  static synchronized void begin() {
    if (!hasPlatform) {
      Runtime.getRuntime().addShutdownHook(new Thread(Callbacks::end, "lumora-end"));
    }
    hasPlatform = true;
  }

  /** What was called is stored while the machine still lives; then nothing of the library's enters it any more. */
  private static void end() {
    Lumora.sharedInstance().shutdown(Duration.ofSeconds(5));
    Native.closeGate();
  }

  /** Called by the library: what a callback has thrown goes no further than this. */
  static void failed(String where, Throwable thrown) {
    System.getLogger("lumora").log(
        System.Logger.Level.ERROR, "A callback (" + where + ") has thrown an exception.", thrown);
  }
}
