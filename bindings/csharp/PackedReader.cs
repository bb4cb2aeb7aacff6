using System;
using System.Collections.Generic;
using System.Text;

namespace LumoraSdk {
  /// <summary>Turns bytes into the value that they are.</summary>
  internal sealed class PackedReader {
    private readonly byte[] bytes;
    private int place;

    internal PackedReader(byte[] bytes) {
      this.bytes = bytes;
    }

    internal object Get() {
      switch ((char) bytes[place++]) {
        case 't':
          return true;
        case 'f':
          return false;
        case 'i':
          return GetNumber();
        case 'u':
          return unchecked((ulong) GetNumber());
        case 'd':
          return BitConverter.Int64BitsToDouble(GetNumber());
        case 's':
          return GetText();
        case 'b':
          return GetData();
        case 'w':
          return PackedWriter.Epoch.AddTicks(GetNumber() * PackedWriter.TicksPerMicrosecond);
        case 'l':
          return GetList();
        case 'm':
          return GetMap();
        default:
          return null;
      }
    }

    private long GetNumber() {
      place += 8;
      return BitConverter.ToInt64(bytes, place - 8);
    }

    private int GetSize() {
      place += 4;
      return BitConverter.ToInt32(bytes, place - 4);
    }

    private string GetText() {
      var length = GetSize();
      place += length;
      return Encoding.UTF8.GetString(bytes, place - length, length);
    }

    private byte[] GetData() {
      var data = new byte[GetSize()];
      Buffer.BlockCopy(bytes, place, data, 0, data.Length);
      place += data.Length;
      return data;
    }

    private IList<object> GetList() {
      var list = new List<object>();
      for (var left = GetSize(); left > 0; --left) {
        list.Add(Get());
      }
      return list;
    }

    private IDictionary<string, object> GetMap() {
      var map = new Dictionary<string, object>();
      for (var left = GetSize(); left > 0; --left) {
        var key = GetText();
        map[key] = Get();
      }
      return map;
    }
  }
}
