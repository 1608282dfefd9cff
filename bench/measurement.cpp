// SPDX-License-Identifier: BSD-2-Clause
#include "measurement.h"

#include <algorithm>
#include <ctime>

#if defined(__linux__)
#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif
#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace bench {

namespace {

constexpr double kShortestRound = 0.1;  // seconds

int counterFile = -1;

double readCounter(Counter counter) {
#if defined(__linux__)
    uint64_t count = 0;
    if (counter == Counter::cycles && read(counterFile, &count, sizeof count) == sizeof count)
        return static_cast<double>(count);
#endif
#if defined(__x86_64__)
    if (counter == Counter::timeStamp) return static_cast<double>(__rdtsc());
#endif
    return 0;
}

double now(const Rules &rules) {
    timespec t;
    clock_gettime(rules.processorTime ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

Round timeRuns(const Run &run, int runs, Counter counter, const Rules &rules) {
    const double start = now(rules), startCycles = readCounter(counter);
    for (int i = 0; i < runs; ++i) run();
    const double cycles = readCounter(counter) - startCycles;
    return {(now(rules) - start) / runs, cycles / runs};
}

std::vector<double> sorted(const std::vector<Round> &rounds, double Round::*part) {
    std::vector<double> values;
    for (const Round &round : rounds) values.push_back(round.*part);
    std::sort(values.begin(), values.end());
    return values;
}

Counter openCounter() {
#if defined(__linux__)
    perf_event_attr wanted = {};
    wanted.size = sizeof wanted;
    wanted.type = PERF_TYPE_HARDWARE;
    wanted.config = PERF_COUNT_HW_CPU_CYCLES;
    wanted.exclude_kernel = wanted.exclude_hv = 1;
    wanted.inherit = 1;  // the decoders' threads
    counterFile = static_cast<int>(syscall(SYS_perf_event_open, &wanted, 0, -1, -1, 0));
    if (counterFile >= 0) return Counter::cycles;
#endif
#if defined(__x86_64__)
    return Counter::timeStamp;
#else
    return Counter::none;
#endif
}

}  // namespace

Counter counterInUse() {
    static const Counter counter = openCounter();
    return counter;
}

const char *nameOf(Counter counter) {
    constexpr const char *kNames[] = {"none", "time stamps", "cycles"};
    return kNames[static_cast<size_t>(counter)];
}

double Result::seconds() const {
    return sorted(rounds, &Round::seconds)[rounds.size() / 2];
}

double Result::cycles() const {
    return sorted(rounds, &Round::cycles)[rounds.size() / 2];
}

double Result::spread() const {
    const std::vector<double> values = sorted(rounds, &Round::seconds);
    return (values[values.size() * 3 / 4] - values[values.size() / 4]) / 2 / seconds();
}

std::vector<Result> measure(const std::vector<Contender> &contenders, const Bytes &bytes, const Rules &rules) {
    const Counter counter = counterInUse();
    std::vector<Result> results;
    std::vector<Run> runs;
    std::vector<int> repeats;
    for (const Contender &contender : contenders) {
        runs.push_back(contender.prepare(bytes));
        Result result = {contender.name, runs.back()(), {}};  // warms up
        const double once = result.frames ? timeRuns(runs.back(), 1, Counter::none, rules).seconds : kShortestRound;
        repeats.push_back(once < kShortestRound ? static_cast<int>(kShortestRound / std::max(once, 1e-5)) + 1 : 1);
        results.push_back(result);
    }
    for (int round = 0; round < rules.rounds; ++round)
        for (size_t i = 0; i < runs.size(); ++i)
            if (results[i].frames) results[i].rounds.push_back(timeRuns(runs[i], repeats[i], counter, rules));
    results.erase(std::remove_if(results.begin(), results.end(), [](const Result &r) { return r.frames == 0; }),
                  results.end());
    return results;
}

const Result *find(const std::vector<Result> &results, const std::string &name) {
    const auto at = std::find_if(results.begin(), results.end(), [&](const Result &r) { return r.name == name; });
    return at == results.end() ? nullptr : &*at;
}

}  // namespace bench
