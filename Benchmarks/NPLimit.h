// Limits: what a benchmark's one iteration may take.
#pragma once

#include <benchmark/benchmark.h>

// States the limit of the running benchmark, in seconds. The report then also shows how much of it an
// iteration takes, and the program fails when one takes more.
void NPSetLimit(benchmark::State& state, double seconds);

// Shows a line a benchmark: its name, the processor time of an iteration and, where there is a limit, the share
// of it. Of several repetitions the fastest counts: what else the machine does can only make one slower.
class NPLimitReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    bool keptLimits() const { return _keptLimits; }

private:
    void _report(const Run& run);

    bool _keptLimits = true;
};
