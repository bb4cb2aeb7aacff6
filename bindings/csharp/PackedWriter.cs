using System;
using System.Collections;
using System.Collections.Generic;
using System.Text;

namespace LumoraSdk {
  /// <summary>Turns one value into bytes.</summary>
  internal sealed class PackedWriter {
    internal const long TicksPerMicrosecond = TimeSpan.TicksPerMillisecond / 1000;
    internal static readonly DateTimeOffset Epoch = new DateTimeOffset(1970, 1, 1, 0, 0, 0, TimeSpan.Zero);
    // As deep as an event can hold it.
    private const int Deepest = 511;
    // A lone surrogate is an ArgumentException.
    private static readonly UTF8Encoding Utf8 = new UTF8Encoding(false, true);

    private byte[] bytes = new byte[16];
    private int size;
    private int depth;

    /// <summary>The bytes of a value that is a text.</summary>
    internal static byte[] OfText(string text) {
      var length = Utf8.GetByteCount(text);
      var bytes = new byte[5 + length];
      bytes[0] = (byte) 's';
      PutSize(bytes, 1, length);
      Utf8.GetBytes(text, 0, text.Length, bytes, 5);
      return bytes;
    }

    /// <summary>No more than what was put: the library reads as far as the value goes.</summary>
    internal byte[] ToArray() {
      if (size < bytes.Length) {
        Array.Resize(ref bytes, size);
      }
      return bytes;
    }

    internal void Put(object value) {
      if (value == null) {
        PutByte('n');
      } else if (value is string text) {
        PutByte('s');
        PutText(text);
      } else if (value is bool yes) {
        PutByte(yes ? 't' : 'f');
      } else if (value is double || value is float) {
        PutNumber('d', BitConverter.DoubleToInt64Bits(Convert.ToDouble(value)));
      } else if (value is ulong large && large > long.MaxValue) {
        PutNumber('u', unchecked((long) large));
      } else if (value is sbyte || value is byte || value is short || value is ushort || value is int ||
          value is uint || value is long || value is ulong) {
        PutNumber('i', Convert.ToInt64(value));
      } else if (value is byte[] data) {
        PutByte('b');
        PutData(data);
      } else if (value is DateTimeOffset date) {
        PutNumber('w', (date - Epoch).Ticks / TicksPerMicrosecond);
      } else {
        PutNested(value);
      }
    }

    private void PutNested(object value) {
      if (++depth > Deepest) {
        throw new ArgumentException("a value holds itself, or is nested deeper than " + Deepest);
      }
      if (value is IDictionary<string, object> values) {
        PutMap(values);
      } else if (value is IDictionary<string, string> texts) {
        PutMap(texts);
      } else if (value is IDictionary map) {
        PutMap(EntriesOf(map));
      } else if (value is IList list) {
        PutList(list);
      } else {
        throw new ArgumentException("no value of the library: " + value.GetType());
      }
      --depth;
    }

    private void PutMap<T>(IEnumerable<KeyValuePair<string, T>> map) {
      var place = Begin('m');
      var count = 0;
      foreach (var entry in map) {
        PutText(entry.Key);
        Put(entry.Value);
        ++count;
      }
      PutSize(bytes, place, count);
    }

    private static IEnumerable<KeyValuePair<string, object>> EntriesOf(IDictionary map) {
      foreach (DictionaryEntry entry in map) {
        var key = entry.Key as string ?? throw new ArgumentException("the key of a map is no string");
        yield return new KeyValuePair<string, object>(key, entry.Value);
      }
    }

    private void PutList(IList list) {
      var place = Begin('l');
      var count = 0;
      foreach (var item in list) {
        Put(item);
        ++count;
      }
      PutSize(bytes, place, count);
    }

    /// <summary>The place of the number of what follows, which is known at the end.</summary>
    private int Begin(char tag) {
      PutByte(tag);
      Grow(4);
      size += 4;
      return size - 4;
    }

    private void PutByte(char tag) {
      Grow(1);
      bytes[size++] = (byte) tag;
    }

    private void PutNumber(char tag, long number) {
      PutByte(tag);
      Grow(8);
      for (var shift = 0; shift < 64; shift += 8) {
        bytes[size++] = (byte) (number >> shift);
      }
    }

    private void PutText(string text) {
      var length = Utf8.GetByteCount(text);
      Grow(4 + length);
      PutSize(bytes, size, length);
      Utf8.GetBytes(text, 0, text.Length, bytes, size + 4);
      size += 4 + length;
    }

    private void PutData(byte[] data) {
      Grow(4 + data.Length);
      PutSize(bytes, size, data.Length);
      Buffer.BlockCopy(data, 0, bytes, size + 4, data.Length);
      size += 4 + data.Length;
    }

    private static void PutSize(byte[] bytes, int place, int number) {
      for (var shift = 0; shift < 32; shift += 8) {
        bytes[place++] = (byte) (number >> shift);
      }
    }

    private void Grow(int more) {
      if (size + more > bytes.Length) {
        Array.Resize(ref bytes, Math.Max(2 * bytes.Length, size + more));
      }
    }
  }
}
