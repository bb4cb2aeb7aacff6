using System;
using System.Collections;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;

namespace LumoraSdk {
  /// <summary>Values as bytes, in the form that bindings/Packed.h tells.</summary>
  internal static class Packed {
    private const int Deepest = 512;
    // More than the library's clocks count stands for "without end".
    private static readonly TimeSpan Longest = TimeSpan.FromSeconds(1e9);
    private const long TicksPerMicrosecond = TimeSpan.TicksPerMillisecond / 1000;
    private static readonly DateTimeOffset Epoch = new DateTimeOffset(1970, 1, 1, 0, 0, 0, TimeSpan.Zero);
    // A lone surrogate is an ArgumentException.
    private static readonly UTF8Encoding Utf8 = new UTF8Encoding(false, true);

    internal static byte[] Of(object value) {
      if (value is string text) {
        return OfText(text);
      }
      var bytes = new MemoryStream(64);
      Put(new BinaryWriter(bytes), value, 0);
      return bytes.ToArray();
    }

    // Most of what crosses is one text.
    private static byte[] OfText(string text) {
      var size = Utf8.GetByteCount(text);
      var bytes = new byte[5 + size];
      bytes[0] = (byte) 's';
      for (var one = 0; one < 4; ++one) {
        bytes[1 + one] = (byte) (size >> 8 * one);
      }
      Utf8.GetBytes(text, 0, text.Length, bytes, 5);
      return bytes;
    }

    internal static byte[] Required(object value) {
      return Of(value ?? throw new ArgumentNullException());
    }

    internal static byte[] Duration(TimeSpan duration) {
      var limited = duration < TimeSpan.Zero ? TimeSpan.Zero : duration > Longest ? Longest : duration;
      return Of(limited.Ticks / TimeSpan.TicksPerMillisecond);
    }

    /// <summary>What the library gives: the number of bytes, and they.</summary>
    internal static T Read<T>(IntPtr packed) {
      var bytes = new byte[Marshal.ReadInt32(packed)];
      Marshal.Copy(packed + 4, bytes, 0, bytes.Length);
      return (T) Get(new BinaryReader(new MemoryStream(bytes)));
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

    private static void PutData(BinaryWriter bytes, byte[] data) {
      bytes.Write(data.Length);
      bytes.Write(data);
    }

    private static void Put(BinaryWriter bytes, object value, int depth) {
      if (depth > Deepest) {
        throw new ArgumentException("a value holds itself, or is nested deeper than " + Deepest);
      }
      if (value == null) {
        bytes.Write((byte) 'n');
      } else if (value is string text) {
        bytes.Write((byte) 's');
        PutData(bytes, Utf8.GetBytes(text));
      } else if (value is bool yes) {
        bytes.Write((byte) (yes ? 't' : 'f'));
      } else if (value is double || value is float) {
        bytes.Write((byte) 'd');
        bytes.Write(Convert.ToDouble(value));
      } else if (value is ulong large && large > long.MaxValue) {
        bytes.Write((byte) 'u');
        bytes.Write(large);
      } else if (value is sbyte || value is byte || value is short || value is ushort || value is int ||
          value is uint || value is long || value is ulong) {
        bytes.Write((byte) 'i');
        bytes.Write(Convert.ToInt64(value));
      } else if (value is byte[] data) {
        bytes.Write((byte) 'b');
        PutData(bytes, data);
      } else if (value is DateTimeOffset date) {
        bytes.Write((byte) 'w');
        bytes.Write((date - Epoch).Ticks / TicksPerMicrosecond);
      } else if (value is IDictionary map) {
        PutMap(bytes, map.Keys.Cast<object>().Select(key => new KeyValuePair<object, object>(key, map[key])), depth);
      } else if (value is IDictionary<string, object> values) {
        PutMap(bytes, values.Select(one => new KeyValuePair<object, object>(one.Key, one.Value)), depth);
      } else if (value is IDictionary<string, string> texts) {
        PutMap(bytes, texts.Select(one => new KeyValuePair<object, object>(one.Key, one.Value)), depth);
      } else if (value is IList list) {
        PutList(bytes, list.Cast<object>().ToArray(), depth);
      } else {
        throw new ArgumentException("no value of the library: " + value.GetType());
      }
    }

    private static void PutMap(BinaryWriter bytes, IEnumerable<KeyValuePair<object, object>> map, int depth) {
      var entries = map.ToArray();
      bytes.Write((byte) 'm');
      bytes.Write(entries.Length);
      foreach (var entry in entries) {
        var key = entry.Key as string ?? throw new ArgumentException("the key of a map is no string");
        PutData(bytes, Utf8.GetBytes(key));
        Put(bytes, entry.Value, depth + 1);
      }
    }

    private static void PutList(BinaryWriter bytes, object[] items, int depth) {
      bytes.Write((byte) 'l');
      bytes.Write(items.Length);
      foreach (var item in items) {
        Put(bytes, item, depth + 1);
      }
    }

    private static byte[] GetData(BinaryReader bytes) {
      return bytes.ReadBytes(bytes.ReadInt32());
    }

    private static string GetText(BinaryReader bytes) {
      return Encoding.UTF8.GetString(GetData(bytes));
    }

    private static object Get(BinaryReader bytes) {
      switch ((char) bytes.ReadByte()) {
        case 't':
          return true;
        case 'f':
          return false;
        case 'i':
          return bytes.ReadInt64();
        case 'u':
          return bytes.ReadUInt64();
        case 'd':
          return bytes.ReadDouble();
        case 's':
          return GetText(bytes);
        case 'b':
          return GetData(bytes);
        case 'w':
          return Epoch.AddTicks(bytes.ReadInt64() * TicksPerMicrosecond);
        case 'l':
          return GetList(bytes);
        case 'm':
          return GetMap(bytes);
        default:
          return null;
      }
    }

    private static IList<object> GetList(BinaryReader bytes) {
      var list = new List<object>();
      for (var left = bytes.ReadInt32(); left > 0; --left) {
        list.Add(Get(bytes));
      }
      return list;
    }

    private static IDictionary<string, object> GetMap(BinaryReader bytes) {
      var map = new Dictionary<string, object>();
      for (var left = bytes.ReadInt32(); left > 0; --left) {
        var key = GetText(bytes);
        map[key] = Get(bytes);
      }
      return map;
    }
  }
}
