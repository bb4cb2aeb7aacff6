using System;
using System.Runtime.InteropServices;

namespace LumoraSdk {
  /// <summary>The library's objects behind those of C#.</summary>
  internal static class Owned {
    /// <summary>The address that was asked for; one that was disposed of has none.</summary>
    internal static HandleRef Address(HandleRef address, object owner) {
      if (address.Handle == IntPtr.Zero) {
        throw new ObjectDisposedException(owner.GetType().Name);
      }
      return address;
    }

    /// <summary>The value of an enumeration, if it is one.</summary>
    internal static T Defined<T>(T value) where T : struct {
      if (!Enum.IsDefined(typeof(T), value)) {
        throw new ArgumentOutOfRangeException(typeof(T).Name, value, "no value of the enumeration");
      }
      return value;
    }
  }
}
