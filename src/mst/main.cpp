// labfolio-mst: shows, checks and searches a Labfolio structure index (labfolio-mst --help).
#include "MstCommand.h"

#include <iostream>

int main(int argc, char** argv)
{
    std::ios::sync_with_stdio(false);
    return RunMstCommand(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
