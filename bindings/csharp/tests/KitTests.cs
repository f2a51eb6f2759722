// Tests of LumetraRpc.cs against the real library under Mono. The library is one per process
// and ends for good at Shutdown, so each scenario runs in a process of its own:
//   mono KitTests.exe SCENARIO   runs one and prints "ok: ..." on success (exit 0)
//   mono KitTests.exe            runs every scenario as a child process under a time limit
// The library is found through LMRPC_LIBRARY or the loader's search (LD_LIBRARY_PATH).
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Threading;
using System.Threading.Tasks;
using Lumetra.Rpc;

static class KitTests {
  // Long enough for a loaded shared machine, far shorter than the supervision timeouts the
  // scenarios configure, so a hang shows up as a failure and not as a slow pass.
  const int WaitMs = 10000;

  sealed class Failure : Exception {
    public Failure(string message) : base(message) {}
  }

  static void Check(bool condition, string what) {
    if (!condition) throw new Failure(what);
  }

  static void Equal(string expected, string actual, string what) {
    if (expected != actual) throw new Failure(what + "\n  expected: " + expected + "\n  actual:   " + actual);
  }

  static string Await(Task<string> task, string what) {
    Check(task.Wait(WaitMs), what + ": no answer within " + WaitMs + " ms");
    return task.Result;
  }

  static readonly Dictionary<string, Func<string[], string>> Scenarios = new Dictionary<string, Func<string[], string>> {
    { "requests", args => Requests() },
    { "bad-config", args => BadConfig() },
    { "events", args => Events() },
    { "host-pump", args => HostPump() },
    { "shutdown-in-flight", args => ShutdownInFlight(false) },
    { "shutdown-in-flight-host", args => ShutdownInFlight(true) },
    { "exit-in-flight", args => ExitInFlight(false) },
    { "exit-in-flight-host", args => ExitInFlight(true) },
    { "memory", args => MemoryStaysFlat() },
    { "domain-unload", args => DomainUnload() },
  };

  static int Main(string[] args) {
    if (args.Length == 0) return RunAll();
    Func<string[], string> scenario;
    if (!Scenarios.TryGetValue(args[0], out scenario)) {
      Console.Error.WriteLine("unknown scenario " + args[0] + "; known: " + string.Join(", ", Scenarios.Keys));
      return 2;
    }
    try {
      Console.WriteLine("ok: " + args[0] + ": " + scenario(args));
      return 0;
    } catch (Exception e) {
      Console.WriteLine("FAILED: " + args[0] + ": " + e);
      return 1;
    }
  }

  // --- requests: answers, refusals and a timeout, all through one configured library ---

  struct Case {
    public string Name, Request, Expected;
    public Case(string name, string request, string expected) { Name = name; Request = request; Expected = expected; }
  }

  static readonly Case[] RequestCases = {
    new Case("success", "{\"id\":2,\"method\":\"getSDKVersion\"}",
             "{\"error\":null,\"id\":2,\"result\":{\"data\":{\"version\":\"9.8.7\"},\"message\":\"SDK version retrieved\",\"success\":true}}"),
    new Case("validation", "{\"id\":1,\"method\":\"init\",\"params\":{}}",
             "{\"error\":{\"code\":422,\"message\":\"Missing required parameter: devKey\"},\"id\":1,\"result\":null}"),
    new Case("unknown method", "{\"id\":3,\"method\":\"noSuchMethod\"}",
             "{\"error\":{\"code\":404,\"message\":\"Method not found: noSuchMethod\"},\"id\":3,\"result\":null}"),
    // Characters of 2, 3 and 4 UTF-8 bytes: a length counted in UTF-16 units cuts the text short.
    new Case("multi-byte text", "{\"id\":\"h\u00e9llo \u2713 \U0001D11E\",\"method\":\"getSDKVersion\"}",
             "{\"error\":null,\"id\":\"h\u00e9llo \u2713 \U0001D11E\",\"result\":{\"data\":{\"version\":\"9.8.7\"},\"message\":\"SDK version retrieved\",\"success\":true}}"),
    new Case("event text in", "{\"id\":4,\"method\":\"logEvent\",\"params\":{\"eventName\":\"caf\u00e9\",\"awaitResponse\":false}}",
             "{\"error\":null,\"id\":4,\"result\":{\"data\":{\"eventName\":\"caf\u00e9\"},\"message\":\"Event logged\",\"success\":true}}"),
    // 350,000 characters but 1,050,000 bytes: over the limit only when bytes are counted.
    new Case("too large in bytes", "{\"id\":\"" + new string('\u20ac', 350000) + "\",\"method\":\"getSDKVersion\"}",
             "{\"error\":{\"code\":400,\"message\":\"Request payload too large\"},\"id\":null,\"result\":null}"),
    new Case("not an object", "[6]",
             "{\"error\":{\"code\":400,\"message\":\"Invalid JSON-RPC request structure: Expected a JSON object at the top level\"},\"id\":null,\"result\":null}"),
    new Case("timeout", "{\"id\":5,\"method\":\"logEvent\",\"params\":{\"eventName\":\"slow\"}}",
             "{\"error\":null,\"id\":5,\"result\":{\"errorType\":\"timeout\",\"message\":\"logEvent operation timed out after 0.2 seconds\",\"success\":false}}"),
  };

  static string Requests() {
    LumetraRpc.Configure("{\"sdk\":{\"version\":\"9.8.7\",\"replies\":{\"logEvent\":{\"never\":true}}},\"timeouts\":{\"logEvent\":0.2}}");
    var tasks = RequestCases.Select(c => LumetraRpc.ExecuteAsync(c.Request)).ToArray();
    for (int i = 0; i < RequestCases.Length; i++)
      Equal(RequestCases[i].Expected, Await(tasks[i], RequestCases[i].Name), RequestCases[i].Name);

    // Many at once: each answer must reach the task of its own request.
    var many = Enumerable.Range(0, 2000)
                   .Select(i => LumetraRpc.ExecuteAsync("{\"id\":" + i + ",\"method\":\"getSDKVersion\"}")).ToArray();
    for (int i = 0; i < many.Length; i++)
      Check(Await(many[i], "request " + i).Contains("\"id\":" + i + ",\"result\""), "answer " + i + " reached another request");

    try {
      LumetraRpc.Configure("{}");
      throw new Failure("Configure after first use was accepted");
    } catch (LumetraRpcException e) {
      Check(e.Status == LumetraRpcException.AlreadyRunning, "late Configure: status " + e.Status);
    }
    Check(LumetraRpc.Pump() == 0, "Pump ran jobs although the library runs its own main thread");
    Check(LumetraRpc.Shutdown(5000), "Shutdown with nothing in flight did not finish in time");
    return RequestCases.Length + " cases and " + many.Length + " concurrent requests answered";
  }

  // --- configuration refused, then accepted ---

  static string BadConfig() {
    try {
      LumetraRpc.Configure("{\"poolThreads\":0}");
      throw new Failure("a pool of 0 threads was accepted");
    } catch (LumetraRpcException e) {
      Check(e.Status == LumetraRpcException.InvalidConfig, "bad config: status " + e.Status);
      Check(e.Message.Contains("poolThreads"), "the reason does not name the member: " + e.Message);
    }
    // Refused means nothing changed: a good configuration still applies afterwards.
    LumetraRpc.Configure("{\"sdk\":{\"version\":\"1.2.3\"}}");
    string answer = Await(LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"getSDKVersion\"}"), "version");
    Check(answer.Contains("\"version\":\"1.2.3\""), "configuration after a refusal not applied: " + answer);
    LumetraRpc.Shutdown(5000);
    return "refused with its reason, then configured";
  }

  // --- events after configuring the simulator ---

  static string Events() {
    var received = new TaskCompletionSource<string>(TaskCreationOptions.RunContinuationsAsynchronously);
    int removedCalls = 0;
    Action<string> removed = text => Interlocked.Increment(ref removedCalls);
    // Subscribing comes first, as in a plugin's setup: it must not start the library, or
    // the Configure after it would be refused.
    LumetraRpc.EventReceived += text => { throw new InvalidOperationException("a subscriber that fails"); };
    LumetraRpc.EventReceived += removed;
    LumetraRpc.EventReceived += text => received.TrySetResult(text);
    LumetraRpc.EventReceived -= removed;
    LumetraRpc.Configure("{\"sdk\":{\"conversion\":{\"data\":{\"campaign\":\"x\"}}}}");

    Await(LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"registerConversionListener\"}"), "register");
    string started = Await(LumetraRpc.ExecuteAsync("{\"id\":2,\"method\":\"start\"}"), "start");
    Check(started.Contains("\"success\":true"), "start failed: " + started);
    string eventText = Await(received.Task, "conversion event");
    Check(eventText.StartsWith("{\"data\":{\"campaign\":\"x\"},\"event\":\"onConversionDataSuccess\",\"origin\":\"ios\""),
          "unexpected event: " + eventText);
    Check(LumetraRpc.Shutdown(5000), "Shutdown did not finish in time");
    Check(Volatile.Read(ref removedCalls) == 0, "a removed subscriber was called");
    return "event delivered past a failing subscriber";
  }

  // --- host-driven: answers and events only inside Pump, on the frame loop's thread ---

  static string HostPump() {
    LumetraRpc.Configure("{\"mainExecutor\":\"host\",\"sdk\":{\"conversion\":{\"data\":{\"campaign\":\"x\"}}}}");
    int frameThread = Thread.CurrentThread.ManagedThreadId;
    int eventThread = -1;
    LumetraRpc.EventReceived += text => Volatile.Write(ref eventThread, Thread.CurrentThread.ManagedThreadId);

    var tasks = new List<Task<string>> {
      LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"registerConversionListener\"}"),
      LumetraRpc.ExecuteAsync("{\"id\":2,\"method\":\"start\"}"),
    };
    for (int i = 3; i < 50; i++) tasks.Add(LumetraRpc.ExecuteAsync("{\"id\":" + i + ",\"method\":\"getSDKVersion\"}"));
    Check(tasks.All(t => !t.IsCompleted), "a request was answered before the host pumped");
    // Even a continuation that asks to run synchronously must not run inside Pump, where it
    // would hold the main executor (and the frame) for as long as it takes.
    var continuation = tasks[2].ContinueWith(t => Thread.CurrentThread.ManagedThreadId,
                                             TaskContinuationOptions.ExecuteSynchronously);

    // The frame loop: pump once per frame (Unity's Update). The pause stands for the rest of
    // a 60 Hz frame; what the loop waits for is in its condition.
    var all = Task.WhenAll(tasks);
    int frames = 0, jobs = 0;
    var clock = Stopwatch.StartNew();
    while ((!all.IsCompleted || Volatile.Read(ref eventThread) == -1) && clock.ElapsedMilliseconds < WaitMs) {
      jobs += LumetraRpc.Pump();
      frames++;
      Thread.Sleep(16);
    }
    Check(all.IsCompleted, "not every request was answered by pumping (" + frames + " frames)");
    Check(jobs > 0, "Pump reported no jobs run");
    Check(Volatile.Read(ref eventThread) == frameThread, "the event was not delivered on the pumping thread");
    Check(continuation.Wait(WaitMs), "the continuation did not run");
    Check(continuation.Result != frameThread, "a continuation ran inside Pump, on the frame loop's thread");
    for (int i = 2; i < tasks.Count; i++)
      Check(tasks[i].Result.Contains("\"id\":" + (i + 1) + ",\"result\":{\"data\":{\"version\""), "answer " + (i + 1) + ": " + tasks[i].Result);
    Check(LumetraRpc.Shutdown(5000), "Shutdown did not finish in time");
    return tasks.Count + " answers and an event in " + frames + " frames, " + jobs + " jobs";
  }

  // --- Shutdown with requests in flight: every task completes before it returns ---

  const string ShuttingDown = "{\"error\":{\"code\":503,\"message\":\"Library is shutting down\"},\"id\":null,\"result\":null}";

  static string ShutdownInFlight(bool hostDriven) {
    LumetraRpc.Configure("{" + (hostDriven ? "\"mainExecutor\":\"host\"," : "") +
                         "\"sdk\":{\"replies\":{\"logEvent\":{\"never\":true}}},\"timeouts\":{\"logEvent\":60}}");
    var stuck = Enumerable.Range(0, 100).Select(i => LumetraRpc.ExecuteAsync(
        "{\"id\":" + i + ",\"method\":\"logEvent\",\"params\":{\"eventName\":\"e\"}}")).ToArray();
    var quick = Enumerable.Range(0, 100).Select(i => LumetraRpc.ExecuteAsync(
        "{\"id\":" + i + ",\"method\":\"getSDKVersion\"}")).ToArray();

    LumetraRpc.Shutdown(300);
    // No waiting here: Shutdown delivers every completion before it returns.
    foreach (var task in stuck) {
      Check(task.Status == TaskStatus.RanToCompletion, "a request without an answer was left " + task.Status);
      Equal(ShuttingDown, task.Result, "a request cut off by Shutdown");
    }
    int answered = 0;
    for (int i = 0; i < quick.Length; i++) {
      Check(quick[i].Status == TaskStatus.RanToCompletion, "a quick request was left " + quick[i].Status);
      if (quick[i].Result == ShuttingDown) continue;
      Check(quick[i].Result.Contains("\"id\":" + i + ",\"result\":{\"data\":{\"version\""), "answer " + i + ": " + quick[i].Result);
      answered++;
    }

    var late = LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"getSDKVersion\"}");
    Check(late.IsFaulted, "a request after Shutdown did not fault at once: " + late.Status);
    var refusal = late.Exception.InnerException as LumetraRpcException;
    Check(refusal != null && refusal.Status == LumetraRpcException.Stopped, "wrong fault: " + late.Exception.InnerException);
    Check(LumetraRpc.Pump() == 0, "Pump ran jobs after Shutdown");
    return "100 cut off with 503, " + answered + " of 100 answered before, a late request refused";
  }

  // --- returning from Main with requests in flight: the process must end promptly ---

  static string ExitInFlight(bool hostDriven) {
    LumetraRpc.Configure("{" + (hostDriven ? "\"mainExecutor\":\"host\"," : "") +
                         "\"sdk\":{\"replies\":{\"logEvent\":{\"never\":true},\"start\":{\"delayMs\":1}}," +
                         "\"conversion\":{\"data\":{\"a\":\"b\"}}}," +
                         "\"timeouts\":{\"logEvent\":60,\"start\":60}}");
    LumetraRpc.EventReceived += text => {};
    var first = LumetraRpc.ExecuteAsync("{\"id\":0,\"method\":\"registerConversionListener\"}");
    if (hostDriven) {
      while (!first.IsCompleted) LumetraRpc.PumpFor(10);
    } else {
      Await(first, "register");
    }
    // Starts answered or on their way, events coming, logEvents that the SDK never answers
    // and whose timeout lies far beyond the driver's limit; none waited for.
    for (int i = 1; i <= 200; i++)
      LumetraRpc.ExecuteAsync("{\"id\":" + i + ",\"method\":\"" + (i % 2 == 0 ? "logEvent\",\"params\":{\"eventName\":\"q\"}}" : "start\"}"));
    return "returning from Main with 200 requests in flight";
  }

  // --- 100,000 requests: resident memory after them stays where it was after a warm-up ---

  const int WarmUp = 20000, Total = 100000, Batch = 500;
  const long AllowedGrowth = 20L << 20;

  static string MemoryStaysFlat() {
    LumetraRpc.Configure("{}");
    // A ~1 KiB id comes back in every answer, so that a text or task kept per request would
    // add some 80 MiB over the measured stretch, far past the allowed growth.
    string id = new string('m', 1024);
    string request = "{\"id\":\"" + id + "\",\"method\":\"getSDKVersion\"}";
    long afterWarmUp = 0;
    for (int sent = 0; sent < Total; sent += Batch) {
      var tasks = new Task<string>[Batch];
      for (int i = 0; i < Batch; i++) tasks[i] = LumetraRpc.ExecuteAsync(request);
      Check(Task.WaitAll(tasks, WaitMs), "a batch was not answered");
      Check(tasks[Batch - 1].Result.Contains(id), "an answer lost its id: " + tasks[Batch - 1].Result);
      if (sent + Batch == WarmUp) afterWarmUp = ResidentBytes();
    }
    long atEnd = ResidentBytes();
    long growth = atEnd - afterWarmUp;
    Check(growth < AllowedGrowth, "resident memory grew by " + (growth >> 10) + " KiB over " + (Total - WarmUp) + " requests");
    Check(LumetraRpc.Shutdown(5000), "Shutdown did not finish in time");
    return Total + " requests, resident " + (afterWarmUp >> 20) + " MiB after warm-up, " + (atEnd >> 20) + " MiB at end";
  }

  static long ResidentBytes() {
    GC.Collect();
    GC.WaitForPendingFinalizers();
    GC.Collect();
    string[] fields = File.ReadAllText("/proc/self/statm").Split(' ');
    return long.Parse(fields[1]) * Environment.SystemPageSize;
  }

  // --- a plugin's domain unloads (Unity reloading scripts) with requests in flight ---

  static string DomainUnload() {
    // A domain that only subscribed never used the library, and must not end it for the rest.
    var idle = AppDomain.CreateDomain("idle");
    idle.DoCallBack(SubscribeOnly);
    AppDomain.Unload(idle);

    var plugin = AppDomain.CreateDomain("plugin");
    plugin.DoCallBack(UseFromPluginDomain);
    AppDomain.Unload(plugin);
    // This domain has its own, unused copy of the wrapper; the library behind it must have
    // been shut down by the unload, or its answers would now call into freed delegates.
    var late = LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"getSDKVersion\"}");
    Check(late.IsFaulted, "the library still runs after the domain that used it unloaded: " + late.Status);
    var refusal = late.Exception.InnerException as LumetraRpcException;
    Check(refusal != null && refusal.Status == LumetraRpcException.Stopped, "wrong fault: " + late.Exception.InnerException);
    return "an idle domain unloaded harmlessly, the using one shut the library down";
  }

  static void SubscribeOnly() {
    LumetraRpc.EventReceived += text => {};
  }

  static void UseFromPluginDomain() {
    LumetraRpc.Configure("{\"sdk\":{\"replies\":{\"logEvent\":{\"delayMs\":300}},\"conversion\":{\"data\":{\"a\":\"b\"}}}," +
                         "\"timeouts\":{\"logEvent\":60}}");
    var received = new TaskCompletionSource<string>(TaskCreationOptions.RunContinuationsAsynchronously);
    LumetraRpc.EventReceived += text => received.TrySetResult(text);
    Await(LumetraRpc.ExecuteAsync("{\"id\":1,\"method\":\"registerConversionListener\"}"), "register");
    Await(LumetraRpc.ExecuteAsync("{\"id\":2,\"method\":\"start\"}"), "start");
    Await(received.Task, "conversion event");
    for (int i = 0; i < 50; i++)
      LumetraRpc.ExecuteAsync("{\"id\":" + i + ",\"method\":\"logEvent\",\"params\":{\"eventName\":\"e\"}}");
  }

  // --- the driver: each scenario in its own process, under a time limit ---

  static int RunAll() {
    string mono = Process.GetCurrentProcess().MainModule.FileName;
    string self = typeof(KitTests).Assembly.Location;
    int failed = 0;
    foreach (string name in Scenarios.Keys) {
      var start = new ProcessStartInfo(mono, "\"" + self + "\" " + name) {
        UseShellExecute = false, RedirectStandardOutput = true, RedirectStandardError = true,
      };
      using (var child = Process.Start(start)) {
        var output = child.StandardOutput.ReadToEndAsync();
        var errors = child.StandardError.ReadToEndAsync();
        // An exit that waited for the 60 s supervision timeouts would overrun its limit.
        bool exited = child.WaitForExit(name.StartsWith("exit-", StringComparison.Ordinal) ? 20000 : 60000);
        if (!exited) child.Kill();
        child.WaitForExit();
        bool passed = exited && child.ExitCode == 0 && output.Result.Contains("ok: ");
        if (!passed) failed++;
        Console.WriteLine((passed ? "pass " : "FAIL ") + name + (exited ? "" : " (hung, killed)"));
        if (!passed) Console.WriteLine(output.Result + errors.Result);
      }
    }
    Console.WriteLine((Scenarios.Count - failed) + " passed, " + failed + " failed");
    return failed == 0 ? 0 : 1;
  }
}
