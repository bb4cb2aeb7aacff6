using System;
using System.Collections;
using System.Collections.Generic;
using System.Linq;
using System.Runtime.InteropServices;

namespace LumoraSdk {
  /// <summary>Values as bytes, in the form that bindings/Packed.h tells.</summary>
  internal static class Packed {
    // More than the library's clocks count stands for "without end".
    private static readonly TimeSpan Longest = TimeSpan.FromSeconds(1e9);

    internal static byte[] Of(object value) {
      var writer = new PackedWriter();
      writer.Put(value);
      return writer.ToArray();
    }

    // Most of what crosses is one text.
    internal static byte[] Of(string text) {
      return text == null ? Of((object) null) : PackedWriter.OfText(text);
    }

    internal static byte[] Required(object value) {
      return Of(value ?? throw new ArgumentNullException());
    }

    internal static byte[] Required(string text) {
      return Of(text ?? throw new ArgumentNullException());
    }

    /// <summary>A number, or null.</summary>
    internal static byte[] Number(object value) {
      if (value is DateTimeOffset || value is IEnumerable) {
        throw new ArgumentException("a number is wanted, not " + value.GetType());
      }
      return Of(value);
    }

    internal static byte[] Duration(TimeSpan duration) {
      var limited = duration < TimeSpan.Zero ? TimeSpan.Zero : duration > Longest ? Longest : duration;
      return Of(limited.Ticks / TimeSpan.TicksPerMillisecond);
    }

    /// <summary>What the library gives: the number of bytes, and they.</summary>
    internal static T Read<T>(IntPtr packed) {
      var bytes = new byte[Marshal.ReadInt32(packed)];
      Marshal.Copy(packed + 4, bytes, 0, bytes.Length);
      return (T) new PackedReader(bytes).Get();
    }

    internal static TimeSpan ReadDuration(IntPtr packed) {
      return TimeSpan.FromTicks(Read<long>(packed) * TimeSpan.TicksPerMillisecond);
    }

    internal static IList<string> ReadTexts(IntPtr packed) {
      return Read<IList<object>>(packed).Cast<string>().ToList();
    }

    internal static IDictionary<string, string> ReadTextMap(IntPtr packed) {
      return Read<IDictionary<string, object>>(packed).ToDictionary(one => one.Key, one => (string) one.Value);
    }
  }
}
