// A C# host that calls the library through P/Invoke the way a Unity plugin does, and
// returns from Main without shutting it down: with requests in flight ("now"), or after
// every answer arrived ("after"). Mono waits at exit for threads that called into managed
// code, so the library's callback thread must not outstay its work.
using System;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

static class MonoExitHost {
  [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
  delegate void TextCallback(IntPtr context, IntPtr text, UIntPtr length);

  [DllImport("lumetra_rpc")] static extern int lmrpc_configure(byte[] json, UIntPtr length);
  [DllImport("lumetra_rpc")] static extern int lmrpc_execute_json(byte[] text, UIntPtr length, TextCallback completion, IntPtr context);
  [DllImport("lumetra_rpc")] static extern void lmrpc_text_free(IntPtr text);

  static readonly TextCallback Completion = OnText;  // kept alive for as long as the library may call it
  static int answers;

  static void OnText(IntPtr context, IntPtr text, UIntPtr length) {
    lmrpc_text_free(text);
    Interlocked.Increment(ref answers);
  }

  static int Main(string[] args) {
    var settings = Encoding.UTF8.GetBytes("{\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":1}}}}");
    if (lmrpc_configure(settings, (UIntPtr)settings.Length) != 0) return 1;
    var request = Encoding.UTF8.GetBytes("{\"id\":1,\"method\":\"logEvent\",\"params\":{\"eventName\":\"quit\"}}");
    for (int i = 0; i < 10; i++) lmrpc_execute_json(request, (UIntPtr)request.Length, Completion, IntPtr.Zero);
    if (args.Length > 0 && args[0] == "after") {
      for (int i = 0; i < 2000 && Volatile.Read(ref answers) < 10; i++) Thread.Sleep(1);
      if (Volatile.Read(ref answers) != 10) return 1;
    }
    Console.WriteLine("ok: returning from Main with " + Volatile.Read(ref answers) + " of 10 answers");
    return 0;
  }
}
