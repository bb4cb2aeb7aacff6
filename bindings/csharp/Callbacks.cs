using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace LumoraSdk {
  /// <summary>What callbacks have in common: who keeps them, where their exceptions end, and that none is called once
  /// the program ends.</summary>
  public static class Callbacks {
    private delegate void Function(IntPtr address);

    private sealed class Entry {
      internal object Kept;
      internal int Shares;
    }

    // By their addresses in the library.
    private static readonly Dictionary<IntPtr, Entry> Entries = new Dictionary<IntPtr, Entry>();
    // Held: the library calls them.
    private static readonly Function[] Functions = { Run, ReleaseTask, Release };
    private static bool hasPlatform;

    static Callbacks() {
      var addresses = Array.ConvertAll(Functions, Marshal.GetFunctionPointerForDelegate);
      Native.Begin(addresses[0], addresses[1], addresses[2]);
    }

    /// <summary>Gets what a callback has thrown, and its name; it goes no further. Without one, standard error tells.
    /// Any thread.</summary>
    public static Action<string, Exception> Failed { get; set; } =
      (where, exception) => Console.Error.WriteLine("A callback ({0}) has thrown an exception: {1}", where, exception);

    internal static void Tell(string where, Exception exception) {
      try {
        Failed(where, exception);
      } catch (Exception second) {
        Console.Error.WriteLine(second);
      }
    }

    /// <summary>Keeps an object until the library has let go of it as often as it was given.</summary>
    internal static HandleRef Keep(HandleRef address, object callback) {
      if (callback == null) {
        return address;
      }
      lock (Entries) {
        if (!Entries.TryGetValue(address.Handle, out var entry)) {
          entry = Entries[address.Handle] = new Entry { Kept = callback };
        }
        ++entry.Shares;
      }
      return address;
    }

    /// <summary>Whether the library may still call it. Such an object is not disposed of.</summary>
    internal static bool IsKept(HandleRef address) {
      lock (Entries) {
        return Entries.ContainsKey(address.Handle);
      }
    }

    private static void Release(IntPtr address) {
      lock (Entries) {
        if (Entries.TryGetValue(address, out var entry) && --entry.Shares == 0) {
          Entries.Remove(address);
        }
      }
    }

    /// <summary>The handle of a task for the main queue, which the library lets go of.</summary>
    internal static IntPtr TaskOf(Action action) {
      return action == null ? IntPtr.Zero : GCHandle.ToIntPtr(GCHandle.Alloc(action));
    }

    private static void Run(IntPtr task) {
      try {
        ((Action) GCHandle.FromIntPtr(task).Target)();
      } catch (Exception exception) {
        Tell("task", exception);
      }
    }

    private static void ReleaseTask(IntPtr task) {
      GCHandle.FromIntPtr(task).Free();
    }

    internal static void Begin() {
      lock (Entries) {
        if (!hasPlatform) {
          AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => End();
        }
        hasPlatform = true;
      }
    }

    /// <summary>What was called is stored while the runtime still lives; then nothing of the library's enters it any
    /// more.</summary>
    private static void End() {
      Lumora.SharedInstance().Shutdown(TimeSpan.FromSeconds(5));
      Native.CloseGate();
    }
  }
}
