// The console reporter of every benchmark program, keeping each benchmark's time per
// iteration (the median when runs repeat) so that the program can print its ratios
// against its peers at the end: "ratio <name>: ours/peer = X" (below 1: ours is faster).
#pragma once
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.error_occurred) continue;
      if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median")
        times[r.run_name.str()] = r.GetAdjustedRealTime();
      else if (r.run_type == Run::RT_Iteration && !times.count(r.run_name.str()))
        times[r.run_name.str()] = r.GetAdjustedRealTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Prints the ratio of two benchmarks' times; false when either is missing.
  bool printRatio(const std::string& label, const std::string& ours,
                  const std::string& peer) const {
    auto o = times.find(ours), p = times.find(peer);
    if (o == times.end() || p == times.end() || p->second <= 0) return false;
    std::printf("ratio %s: ours/peer = %.3f\n", label.c_str(), o->second / p->second);
    return true;
  }

  std::map<std::string, double> times;  // per iteration, in each benchmark's unit
};

// Keeps each benchmark's CPU time per iteration beside the real time (on shared cores the
// CPU time is the steadier figure) and prints speedups in both.
class SpeedupReporter : public RatioReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.error_occurred) continue;
      if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median")
        cpu[r.run_name.str()] = r.GetAdjustedCPUTime();
      else if (r.run_type == Run::RT_Iteration && !cpu.count(r.run_name.str()))
        cpu[r.run_name.str()] = r.GetAdjustedCPUTime();
    }
    RatioReporter::ReportRuns(runs);
  }

  // "speedup": the peer's time over ours (above 1: ours is faster), real and CPU time.
  void printSpeedup(const std::string& label, const std::string& ours,
                    const std::string& peer) const {
    if (!printRatio(label, ours, peer) || !cpu.count(ours) || !cpu.count(peer)) return;
    std::printf("speedup %s: peer/ours = %.2f real, %.2f cpu (above 1: ours is faster)\n",
                label.c_str(), times.at(peer) / times.at(ours), cpu.at(peer) / cpu.at(ours));
  }

  std::map<std::string, double> cpu;  // per iteration, in each benchmark's unit
};
