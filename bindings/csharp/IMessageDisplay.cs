using System.Collections.Generic;

namespace LumoraSdk {
  /// <summary>Draws in-app messages. It is called on the main thread, and may call the library.</summary>
  public interface IMessageDisplay {
    /// <summary>A message appears above whatever is shown. Its description's "elements" are what is drawn, and what
    /// <see cref="LinuxPlatform.Tap"/> names.</summary>
    void Show(long message, IDictionary<string, object> description);

    /// <summary>It is to be taken away.</summary>
    void Dismiss(long message);
  }
}
