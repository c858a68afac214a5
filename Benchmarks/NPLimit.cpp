#include "NPLimit.h"

#include <cstdio>

namespace {

constexpr const char* limitCounter = "limit";

// The unit in which a time has one to three digits before the point.
struct Shown {
    double value;
    const char* unit;
};

Shown shown(double seconds)
{
    if (seconds < 1e-6) {
        return {seconds * 1e9, "ns"};
    }
    return seconds < 1e-3 ? Shown{seconds * 1e6, "µs"} : Shown{seconds * 1e3, "ms"};
}

double secondsOf(const benchmark::BenchmarkReporter::Run& run)
{
    return run.cpu_accumulated_time / static_cast<double>(run.iterations);
}

} // namespace

void NPSetLimit(benchmark::State& state, double seconds)
{
    state.counters[limitCounter] = seconds;
}

bool NPLimitReporter::ReportContext(const Context& context)
{
    std::printf("%d processors at %.0f MHz\n", context.cpu_info.num_cpus,
                context.cpu_info.cycles_per_second / 1e6);
    return true;
}

void NPLimitReporter::ReportRuns(const std::vector<Run>& runs)
{
    const Run* fastest = nullptr;
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Iteration && (fastest == nullptr || secondsOf(run) < secondsOf(*fastest))) {
            fastest = &run;
        }
    }
    if (fastest != nullptr) {
        _report(*fastest);
    }
}

void NPLimitReporter::_report(const Run& run)
{
    const std::string name =
        run.run_name.function_name + (run.run_name.args.empty() ? "" : " ") + run.run_name.args;
    const double seconds = secondsOf(run);
    const Shown time = shown(seconds);
    std::printf("%-48s %8.2f %s", name.c_str(), time.value, time.unit);
    if (const auto limit = run.counters.find(limitCounter); limit != run.counters.end()) {
        const Shown allowed = shown(limit->second.value);
        const double share = seconds / limit->second.value;
        _keptLimits = _keptLimits && share <= 1.0;
        std::printf("  %6.3f of %g %s%s", share, allowed.value, allowed.unit, share > 1.0 ? "  TOO SLOW" : "");
    }
    std::printf("\n");
    std::fflush(stdout);
}
