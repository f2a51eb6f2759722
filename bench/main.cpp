// lumetra_rpc_bench [--json FILE]: measures every figure in one run, prints them with
// their targets, and writes them as one JSON object when asked. Exits 1 when a target is
// missed, so a script can tell.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>

#include "figures.h"
#include "harness.h"
#include "lumetra_rpc/runtime.h"
#include "wire/json_writer.h"

namespace lumetra_rpc::bench {

double figure(const Figures& figures, const std::string& name) {
  for (const auto& f : figures)
    if (f.name == name) return f.value;
  return std::nan("");
}

namespace {

struct Target {
  const char* name;
  const char* relation;  // "<=" or ">="
  double bound;
};

void addRatios(Figures& figures) {
  // A ratio whose sides were not measured (a run with --only) is left out, not reported missed.
  auto ratio = [&](const char* name, double a, double b) {
    if (!std::isnan(a) && !std::isnan(b)) figures.push_back({name, a / b});
  };
  ratio("execute_vs_floor", figure(figures, "execute_ns"), figure(figures, "floor_ns"));
  ratio("bridge_vs_peer", figure(figures, "bridge_rps"), figure(figures, "peer_rps"));
  ratio("bridge_vs_peer_threaded", figure(figures, "bridge_rps"), figure(figures, "peer_threaded_rps"));
  ratio("setter_vs_worked_floor", figure(figures, "setter_rps"), figure(figures, "worked_floor_rps"));
  ratio("mix_vs_at_once", figure(figures, "bridge_rps"), figure(figures, "at_once_rps"));
  ratio("bridge_vs_floor", figure(figures, "bridge_rps"), figure(figures, "floor_rps"));
  ratio("oversize_ratio", figure(figures, "execute_ns_1m"), figure(figures, "refuse_ns"));
  ratio("growth_linearity", figure(figures, "execute_ns_1m") / 1024, figure(figures, "execute_ns_1k"));
  ratio("big_vs_floor", figure(figures, "execute_ns_1m"), figure(figures, "floor_ns_1m"));
  ratio("big_vs_peer", figure(figures, "peer_ns_1m"), figure(figures, "execute_ns_1m"));
}

std::vector<Target> targets() {
  auto threads = static_cast<double>(Runtime::poolThreadCount() + 3);
  return {{"execute_vs_floor", "<=", 5},
          {"bridge_vs_peer", ">=", 2},
          {"bridge_vs_peer_threaded", ">=", 3},
          {"setter_vs_worked_floor", ">=", 0.9},
          {"allocs_per_request_at_once", "<=", 6},
          {"allocs_per_request_waiting", "<=", 12},
          {"mix_vs_at_once", ">=", 0.9},
          {"waits_10k_ratio", "<=", 1.5},
          {"waits_10k_threads", "<=", threads},
          {"waits_10k_bytes_per_wait", "<=", 4096},
          {"oversize_ratio", ">=", 1000},
          {"growth_linearity", "<=", 1.5},
          {"big_vs_floor", "<=", 2.5},
          {"big_vs_peer", ">=", 5}};
}

const Target* targetOf(const std::string& name, const std::vector<Target>& all) {
  for (const auto& t : all)
    if (name == t.name) return &t;
  return nullptr;
}

bool met(const Target& t, double value) {
  return std::strcmp(t.relation, "<=") == 0 ? value <= t.bound : value >= t.bound;
}

// Ratios first: they are what carries from one machine to another.
bool printTable(const Figures& figures) {
  auto all = targets();
  bool allMet = true;
  std::printf("%-32s %16s   %s\n", "figure", "value", "target");
  for (int pass = 0; pass < 2; ++pass)
    for (const auto& f : figures) {
      const auto* t = targetOf(f.name, all);
      if ((t != nullptr) != (pass == 0)) continue;
      std::printf("%-32s %16.2f", f.name.c_str(), f.value);
      if (t) {
        bool ok = met(*t, f.value);
        allMet = allMet && ok;
        std::printf("   %s %g  %s", t->relation, t->bound, ok ? "met" : "MISSED");
      }
      std::printf("\n");
    }
  std::printf("pool threads: %zu\n", Runtime::poolThreadCount());
  return allMet;
}

bool writeFigures(const Figures& figures, const char* path) {
  JSONObject object;
  for (const auto& f : figures) object.insert_or_assign(f.name, AnyCodable(f.value));
  auto text = writeJSON(AnyCodable(std::move(object)));
  std::ofstream out(path);
  out << (text ? text.value() : std::string("{}")) << '\n';
  return text.hasValue() && out.good();
}

int run(int argc, char** argv) {
  const char* jsonPath = nullptr;
  const char* only = nullptr;  // one measure alone, for profiling
  double pace = 0;             // a fixed latency pace, to compare trees at one load
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--json") == 0 && i + 1 < argc) {
      jsonPath = argv[++i];
    } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
      only = argv[++i];
    } else if (std::strcmp(argv[i], "--pace") == 0 && i + 1 < argc && std::atof(argv[i + 1]) > 0) {
      pace = std::atof(argv[++i]);
    } else {
      std::fprintf(stderr,
                   "usage: %s [--json FILE] [--only request|bridge|peer|throughput|waits|allocs|latency] "
                   "[--pace RPS]\n",
                   argv[0]);
      return 2;
    }
  }
  Figures figures;
  auto chosen = [&](const char* label) { return only == nullptr || std::strcmp(only, label) == 0; };
  // The waits measure resident memory, so they run first, before large requests leave
  // freed memory behind for them to reuse; the timed figures then run with freed memory
  // kept in the process (see keepFreedMemory).
  if (chosen("waits")) {
    std::fprintf(stderr, "measuring waits...\n");
    measureWaits(figures);
  }
  keepFreedMemory();
  if (chosen("request")) {
    std::fprintf(stderr, "measuring request...\n");
    measureRequestCost(figures);
  }
  // "throughput" takes both sides, for the ratios between them.
  if (chosen("bridge") || chosen("peer") || chosen("throughput")) {
    std::fprintf(stderr, "measuring throughput...\n");
    measureThroughput(figures, chosen("bridge") || chosen("throughput"),
                      chosen("peer") || chosen("throughput"));
  }
  if (chosen("allocs")) {
    std::fprintf(stderr, "counting allocations...\n");
    measureAllocations(figures);
  }
  if (chosen("latency")) {
    // Half of the capacity this run measured (measured here when the run did not), or
    // the pace asked for.
    double capacity = pace > 0 ? 2 * pace : figure(figures, "bridge_rps");
    if (std::isnan(capacity)) {
      Figures alone;
      measureThroughput(alone, true, false);
      capacity = figure(alone, "bridge_rps");
    }
    std::fprintf(stderr, "measuring latency...\n");
    measureLatency(figures, capacity);
  }
  addRatios(figures);
  bool allMet = printTable(figures);
  if (jsonPath && !writeFigures(figures, jsonPath)) {
    std::fprintf(stderr, "cannot write %s\n", jsonPath);
    return 2;
  }
  return allMet ? 0 : 1;
}

}  // namespace
}  // namespace lumetra_rpc::bench

int main(int argc, char** argv) {
  try {
    return lumetra_rpc::bench::run(argc, argv);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "benchmark failed: %s\n", e.what());
    return 2;
  }
}
