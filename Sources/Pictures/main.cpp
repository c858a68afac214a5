#include "Pictures/NPPicturesProgram.h"

#include <algorithm>
#include <iostream>

int main(int argc, char** argv)
{
    return NPRunPictures(std::vector<std::string>(argv + std::min(argc, 1), argv + argc), std::cout, std::cerr);
}
