#include "Support/Data/NPTestData.h"

std::string NPTestDataFile(std::string_view name)
{
    return std::string(NP_TEST_DATA "/").append(name);
}
