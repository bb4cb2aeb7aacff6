package lumora;

import java.util.Map;

/** Draws in-app messages. It is called on the main thread, and may call the library. */
public interface MessageDisplay {
  /**
   * A message appears above whatever is shown. Its description's "elements" are what is drawn, and what
   * {@link LinuxPlatform#tap} names.
   */
  void show(long message, Map<String, Object> description);

  /** It is to be taken away. */
  void dismiss(long message);
}
