// Times what the engine does often. Every figure with a limit is shown as its share of the limit, so that
// two machines can be compared. Fails when one is above its limit.
#include "NPLimit.h"

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    NPLimitReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.keptLimits() ? 0 : 1;
}
