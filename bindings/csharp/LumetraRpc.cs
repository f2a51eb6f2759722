// LumetraRPC for C# hosts (Unity, Mono, .NET): drop this one file into a plugin. It calls the
// C interface (lumetra_rpc.h) through P/Invoke and keeps the glue every host would otherwise
// write by hand: UTF-8 byte counts, a token per request, freeing every text the library hands
// over, callbacks that never throw into native code and never reach managed code after
// Shutdown. C# 7 only, so that Mono's mcs and older Unity versions compile it.
using System;
using System.Collections.Generic;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;
using System.Runtime.Serialization;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Lumetra.Rpc {
  /// <summary>The "error":{"code":...} values of a response.</summary>
  public static class ErrorCodes {
    public const int InvalidRequest = 400;  // not JSON, bad envelope, too large
    public const int MethodNotFound = 404;
    public const int InvalidParams = 422;   // validation failed, missing parameter
    public const int Internal = 500;
    public const int Unavailable = 503;     // "Library is shutting down"
  }

  /// <summary>A call the library refused: configuring too late or with a bad text, or a
  /// request after Shutdown. Status is the C interface's return value (LMRPC_*).</summary>
  [Serializable]  // so that it can cross from a plugin's domain into its caller's
  public sealed class LumetraRpcException : Exception {
    public const int AlreadyRunning = 1;
    public const int InvalidConfig = 2;
    public const int Stopped = 3;
    public readonly int Status;
    public LumetraRpcException(int status, string message) : base(message) { Status = status; }

    LumetraRpcException(SerializationInfo info, StreamingContext context) : base(info, context) {
      Status = info.GetInt32("Status");
    }

    public override void GetObjectData(SerializationInfo info, StreamingContext context) {
      base.GetObjectData(info, context);
      info.AddValue("Status", Status);
    }
  }

  // The C functions, bound one of two ways: by the loader's search for "lumetra_rpc"
  // (liblumetra_rpc.so, lumetra_rpc.dll), or through the process's global symbols, which is
  // where a library linked into the app (Unity on iOS) or preloaded from an explicit file
  // lives. Mono resolves a DllImport when it compiles the calling method and remembers a
  // failure, so the calls sit in methods of their own that run only after Bind chose.
  static class Native {
    public static bool ViaProcess;

    [MethodImpl(MethodImplOptions.NoInlining)]
    public static int Configure(byte[] json, UIntPtr length) {
      return ViaProcess ? Linked.lmrpc_configure(json, length) : Loaded.lmrpc_configure(json, length);
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static IntPtr ConfigureError() {
      return ViaProcess ? Linked.lmrpc_configure_error() : Loaded.lmrpc_configure_error();
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static int Execute(byte[] text, UIntPtr length, TextCallback completion, IntPtr context) {
      return ViaProcess ? Linked.lmrpc_execute_json(text, length, completion, context)
                        : Loaded.lmrpc_execute_json(text, length, completion, context);
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static void SetEventHandler(TextCallback handler) {
      if (ViaProcess) Linked.lmrpc_set_event_handler(handler, IntPtr.Zero);
      else Loaded.lmrpc_set_event_handler(handler, IntPtr.Zero);
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static void TextFree(IntPtr text) {
      if (ViaProcess) Linked.lmrpc_text_free(text);
      else Loaded.lmrpc_text_free(text);
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static int Shutdown(uint timeoutMs) {
      return ViaProcess ? Linked.lmrpc_shutdown(timeoutMs) : Loaded.lmrpc_shutdown(timeoutMs);
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static int UseHostDrivenMain() {
      return ViaProcess ? Linked.lmrpc_use_host_driven_main() : Loaded.lmrpc_use_host_driven_main();
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static ulong RunUntilIdle() {
      return (ulong)(ViaProcess ? Linked.lmrpc_main_run_until_idle() : Loaded.lmrpc_main_run_until_idle());
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static ulong RunFor(uint milliseconds) {
      return (ulong)(ViaProcess ? Linked.lmrpc_main_run_for(milliseconds) : Loaded.lmrpc_main_run_for(milliseconds));
    }
    [MethodImpl(MethodImplOptions.NoInlining)]
    public static IntPtr Version() {
      return ViaProcess ? Linked.lmrpc_version() : Loaded.lmrpc_version();
    }
  }

  static class Loaded {
    const string Lib = "lumetra_rpc";
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_configure(byte[] json, UIntPtr length);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr lmrpc_configure_error();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_execute_json(byte[] text, UIntPtr length, TextCallback completion, IntPtr context);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern void lmrpc_set_event_handler(TextCallback handler, IntPtr context);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern void lmrpc_text_free(IntPtr text);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_shutdown(uint timeoutMs);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_use_host_driven_main();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern UIntPtr lmrpc_main_run_until_idle();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern UIntPtr lmrpc_main_run_for(uint milliseconds);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr lmrpc_version();
  }

  static class Linked {
    const string Lib = "__Internal";
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_configure(byte[] json, UIntPtr length);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr lmrpc_configure_error();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_execute_json(byte[] text, UIntPtr length, TextCallback completion, IntPtr context);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern void lmrpc_set_event_handler(TextCallback handler, IntPtr context);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern void lmrpc_text_free(IntPtr text);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_shutdown(uint timeoutMs);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern int lmrpc_use_host_driven_main();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern UIntPtr lmrpc_main_run_until_idle();
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern UIntPtr lmrpc_main_run_for(uint milliseconds);
    [DllImport(Lib, CallingConvention = CallingConvention.Cdecl)]
    public static extern IntPtr lmrpc_version();
  }

  // Opens an explicit file so that its symbols join the process's global ones.
  static class Preloader {
    [DllImport("libdl.so.2")] static extern IntPtr dlopen(string path, int flags);
    [DllImport("libdl.so.2")] static extern IntPtr dlerror();
    [DllImport("libSystem.dylib", EntryPoint = "dlopen")] static extern IntPtr mac_dlopen(string path, int flags);
    [DllImport("kernel32", CharSet = CharSet.Unicode, SetLastError = true)] static extern IntPtr LoadLibraryW(string path);

    const int RtldNow = 2, LinuxRtldGlobal = 0x100, MacRtldGlobal = 0x8;

    // True when the symbols are then to be found through the process; on Windows the
    // loader finds a module already loaded under its own name instead.
    public static bool Load(string path) {
      if (Environment.OSVersion.Platform == PlatformID.Win32NT) {
        if (LoadLibraryW(path) == IntPtr.Zero)
          throw new DllNotFoundException("Cannot load " + path + " (error " + Marshal.GetLastWin32Error() + ")");
        return false;
      }
      IntPtr handle;
      try {
        handle = dlopen(path, RtldNow | LinuxRtldGlobal);
        if (handle == IntPtr.Zero) {
          IntPtr reason = dlerror();
          throw new DllNotFoundException("Cannot load " + path + ": " +
                                         (reason == IntPtr.Zero ? "" : Marshal.PtrToStringAnsi(reason)));
        }
      } catch (DllNotFoundException e) when (!e.Message.StartsWith("Cannot load ", StringComparison.Ordinal)) {
        handle = mac_dlopen(path, RtldNow | MacRtldGlobal);
        if (handle == IntPtr.Zero) throw new DllNotFoundException("Cannot load " + path);
      }
      return true;
    }
  }

  [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
  delegate void TextCallback(IntPtr context, IntPtr text, UIntPtr length);

  // Ahead-of-time compilers (Unity's IL2CPP, Mono's full AOT on iOS) make a native entry
  // only for methods carrying an attribute of this name; its namespace does not matter.
  [AttributeUsage(AttributeTargets.Method)]
  sealed class MonoPInvokeCallbackAttribute : Attribute {
    public MonoPInvokeCallbackAttribute(Type type) {}
  }

  public static class LumetraRpc {
    /// <summary>What UseLibrary takes for a library linked into the app itself (Unity on
    /// iOS, any static link).</summary>
    public const string LinkedIntoApp = "__Internal";

    static readonly object BindGate = new object();
    static string chosenLibrary;
    static int bound;

    // One delegate per callback for the life of the process: the library may call them until
    // Shutdown returns, and a delegate the GC collected would be a dangling function pointer.
    static readonly TextCallback CompletionCallback = OnCompletion;
    static readonly TextCallback EventCallback = OnEvent;

    static readonly object Gate = new object();
    static readonly Dictionary<int, TaskCompletionSource<string>> Pending =
        new Dictionary<int, TaskCompletionSource<string>>();
    static int nextToken;
    static int stopped;  // 1 once Shutdown returned: events are ignored from then on
    static int eventHandlerInstalled;
    static Action<string> eventSubscribers;
    static int inUse;  // 1 from the first request on

    static LumetraRpc() {
      // A domain that unloads (Unity reloading scripts) takes these delegates with it; the
      // library must be stopped before, or its next callback jumps into freed code.
      try {
        if (!AppDomain.CurrentDomain.IsDefaultAppDomain())
          AppDomain.CurrentDomain.DomainUnload += (sender, args) => {
            // Another domain may be the one using the library; only its user ends it.
            if (Volatile.Read(ref inUse) == 1) Shutdown(2000);
          };
        else
          // Mono tears the runtime down after Main returns, before the C exit handlers that
          // would stop the library: a callback arriving in between would crash the process.
          AppDomain.CurrentDomain.ProcessExit += (sender, args) => {
            if (Volatile.Read(ref inUse) == 1) Shutdown(500);
          };
      } catch (Exception) {
        // No unload notification on this runtime: then there is no domain to unload either.
      }
    }

    /// <summary>Where the library comes from, chosen before anything else is called: a file
    /// path, or LinkedIntoApp. Without a call, the environment variable LMRPC_LIBRARY is used
    /// when set, and otherwise the loader's search for "lumetra_rpc" (liblumetra_rpc.so on
    /// LD_LIBRARY_PATH or next to the assembly, lumetra_rpc.dll, a Unity plugin folder).
    /// Throws InvalidOperationException once the library is in use.</summary>
    public static void UseLibrary(string path) {
      if (string.IsNullOrEmpty(path)) throw new ArgumentNullException("path");
      lock (BindGate) {
        if (bound == 1) throw new InvalidOperationException("UseLibrary must come before the library's first use");
        chosenLibrary = path;
      }
    }

    // Every entry point comes here first; the Native methods it guards are compiled only then.
    static void Bind() {
      if (Volatile.Read(ref bound) == 1) return;
      lock (BindGate) {
        if (bound == 1) return;
        string path = chosenLibrary ?? Environment.GetEnvironmentVariable("LMRPC_LIBRARY");
        if (path == LinkedIntoApp) Native.ViaProcess = true;
        else if (!string.IsNullOrEmpty(path)) Native.ViaProcess = Preloader.Load(path);
        Volatile.Write(ref bound, 1);
      }
    }

    /// <summary>The library's "MAJOR.MINOR.PATCH".</summary>
    public static string Version {
      get { Bind(); return FromNulTerminated(Native.Version()); }
    }

    /// <summary>Configures the library before its first use with one JSON object ("sdk",
    /// "timeouts", "poolThreads", "mainExecutor"). Throws LumetraRpcException when refused:
    /// Status InvalidConfig with the library's reason, or AlreadyRunning once it started.</summary>
    public static void Configure(string json) {
      if (json == null) throw new ArgumentNullException("json");
      Bind();
      byte[] bytes = Encoding.UTF8.GetBytes(json);
      int status = Native.Configure(bytes, (UIntPtr)bytes.Length);
      if (status == 0) return;
      // The reason is kept per thread, so it must be read on this one, right away.
      string reason = status == LumetraRpcException.InvalidConfig
          ? FromNulTerminated(Native.ConfigureError())
          : "the library has already started (or been shut down); configure before the first request";
      throw new LumetraRpcException(status, "Configure refused: " + reason);
    }

    /// <summary>Chooses the host-driven main executor (then call Pump from the frame loop).
    /// False once the library has started.</summary>
    public static bool UseHostDrivenMain() {
      Bind();
      return Native.UseHostDrivenMain() == 1;
    }

    /// <summary>Sends one request text; the task completes with its response text, also
    /// for requests the library refuses (a response with an "error"). The task faults with
    /// LumetraRpcException (Status Stopped) when the library has been shut down.</summary>
    public static Task<string> ExecuteAsync(string json) {
      if (json == null) throw new ArgumentNullException("json");
      Bind();
      // The host's continuations must not run inside the library's callback, which holds
      // its main executor (and in host-driven mode the host's own Pump) until it returns.
      var completion = new TaskCompletionSource<string>(TaskCreationOptions.RunContinuationsAsynchronously);
      MarkInUse();
      byte[] bytes = Encoding.UTF8.GetBytes(json);
      int token;
      lock (Gate) {
        do token = unchecked(++nextToken); while (token == 0 || Pending.ContainsKey(token));
        Pending.Add(token, completion);
      }
      int status = Native.Execute(bytes, (UIntPtr)bytes.Length, CompletionCallback, new IntPtr(token));
      if (status != 0) {
        lock (Gate) Pending.Remove(token);
        completion.TrySetException(new LumetraRpcException(
            status, "The library has been shut down; no request runs any more"));
      }
      return completion.Task;
    }

    /// <summary>Event texts ({"event":"onConversionDataSuccess",...}), raised on the main
    /// executor: the library's thread, or inside Pump in host-driven mode. A subscriber that
    /// throws does not keep the others from theirs.</summary>
    public static event Action<string> EventReceived {
      add {
        lock (Gate) eventSubscribers += value;
        // Setting the native handler starts the library, which would refuse a Configure
        // that follows; before the first request the handler waits for that request.
        // A full fence, so that this and a first request racing with it cannot both miss.
        if (Interlocked.CompareExchange(ref inUse, 0, 0) == 1) InstallEventHandler();
      }
      remove { lock (Gate) eventSubscribers -= value; }
    }

    // Installed once and left in place: replacing it waits for a delivery in progress, and
    // one with no subscribers simply drops the text.
    static void InstallEventHandler() {
      if (Interlocked.Exchange(ref eventHandlerInstalled, 1) == 1) return;
      Bind();
      Native.SetEventHandler(EventCallback);
    }

    // The first request starts the library; a subscriber that came earlier gets its handler
    // now, before any listener registration could make an event.
    static void MarkInUse() {
      if (Interlocked.Exchange(ref inUse, 1) == 1) return;
      bool subscribed;
      lock (Gate) subscribed = eventSubscribers != null;
      if (subscribed) InstallEventHandler();
    }

    /// <summary>Runs what is ready on the main executor and returns the number of jobs run;
    /// for hosts configured with {"mainExecutor":"host"} that call it once per frame (Unity's
    /// Update). Returns 0 in the default mode and from inside a callback.</summary>
    public static int Pump() {
      Bind();
      return (int)Math.Min(Native.RunUntilIdle(), int.MaxValue);
    }

    /// <summary>Runs main-executor jobs as they arrive for the given time (host-driven mode).</summary>
    public static int PumpFor(uint milliseconds) {
      Bind();
      return (int)Math.Min(Native.RunFor(milliseconds), int.MaxValue);
    }

    /// <summary>Ends the library for good: requests still running after timeoutMs are
    /// answered 503 "Library is shutting down", every pending task completes before this
    /// returns, and no callback reaches managed code afterwards. True when everything
    /// finished in time. Later requests fault at once.</summary>
    public static bool Shutdown(uint timeoutMs) {
      Bind();
      int status = Native.Shutdown(timeoutMs);
      Volatile.Write(ref stopped, 1);
      // The library answers every request before it returns; any task still here had a
      // callback let go on timeout, and must not wait forever.
      List<TaskCompletionSource<string>> left;
      lock (Gate) {
        left = new List<TaskCompletionSource<string>>(Pending.Values);
        Pending.Clear();
      }
      foreach (var completion in left)
        completion.TrySetException(new LumetraRpcException(
            LumetraRpcException.Stopped, "The library was shut down before answering"));
      return status == 0;
    }

    // Callbacks come from native code: nothing may be thrown out of them, and the text is
    // the host's to free whatever happens.
    [MonoPInvokeCallback(typeof(TextCallback))]
    static void OnCompletion(IntPtr context, IntPtr text, UIntPtr length) {
      try {
        string response = TakeText(text, length);
        // Answers that Shutdown delivers still complete their tasks; one coming after it
        // returned finds its task already failed and taken out, and is dropped.
        TaskCompletionSource<string> completion;
        lock (Gate) {
          int token = context.ToInt32();
          if (!Pending.TryGetValue(token, out completion)) return;
          Pending.Remove(token);
        }
        completion.TrySetResult(response);
      } catch (Exception) {
        // Nothing a host could do here, and throwing into native code would end the process.
      }
    }

    [MonoPInvokeCallback(typeof(TextCallback))]
    static void OnEvent(IntPtr context, IntPtr text, UIntPtr length) {
      try {
        string eventText = TakeText(text, length);
        if (Volatile.Read(ref stopped) == 1) return;
        Action<string> subscribers;
        lock (Gate) subscribers = eventSubscribers;
        if (subscribers == null) return;
        foreach (Action<string> subscriber in subscribers.GetInvocationList()) {
          try {
            subscriber(eventText);
          } catch (Exception) {
            // One subscriber's failure is its own; the others still get the event.
          }
        }
      } catch (Exception) {
      }
    }

    // Copies the library's text and frees it at once, so no text outlives its callback.
    static string TakeText(IntPtr text, UIntPtr length) {
      if (text == IntPtr.Zero) return "";
      try {
        int count = checked((int)(ulong)length);
        var bytes = new byte[count];
        Marshal.Copy(text, bytes, 0, count);
        return Encoding.UTF8.GetString(bytes);
      } finally {
        Native.TextFree(text);
      }
    }

    static string FromNulTerminated(IntPtr text) {
      if (text == IntPtr.Zero) return "";
      int count = 0;
      while (Marshal.ReadByte(text, count) != 0) count++;
      var bytes = new byte[count];
      Marshal.Copy(text, bytes, 0, count);
      return Encoding.UTF8.GetString(bytes);
    }
  }
}
