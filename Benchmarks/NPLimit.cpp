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
    for (const Run& run : runs) {
        const std::string name = run.run_name.function_name + (run.run_name.args.empty() ? "" : " ")
                                 + run.run_name.args;
        if (run.error_occurred) {
            _keptLimits = false;
            std::printf("%-52s failed: %s\n", name.c_str(), run.error_message.c_str());
            continue;
        }
        const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
        const Shown time = shown(seconds);
        std::printf("%-52s %8.2f %s", name.c_str(), time.value, time.unit);
        if (const auto limit = run.counters.find(limitCounter); limit != run.counters.end()) {
            const Shown allowed = shown(limit->second.value);
            const double share = seconds / limit->second.value;
            _keptLimits = _keptLimits && share <= 1.0;
            std::printf("  %6.3f of %g %s%s", share, allowed.value, allowed.unit, share > 1.0 ? "  TOO SLOW" : "");
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}
