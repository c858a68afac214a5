// Times what the engine does often. Every figure with a limit is shown as its share of the limit, so that
// two machines can be compared. Fails when one is above its limit.
#include "NPLimit.h"

#include <string>
#include <vector>

int main(int argc, char** argv)
{
    // The library's own options may follow, --benchmark_filter=PATTERN above all.
    std::vector<std::string> words{"nightpane-benchmarks", "--benchmark_repetitions=5",
                                   "--benchmark_min_time=0.1"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    NPLimitReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.keptLimits() ? 0 : 1;
}
