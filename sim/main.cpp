#include "SimOptions.h"
#include "SimRunner.h"

#include <iostream>

int main(int argc, char *argv[])
{
    using strelosim::SimOptions;
    SimOptions options;
    std::string error;
    switch (SimOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error)) {
    case SimOptions::Outcome::Help:
        std::cout << SimOptions::Usage();
        return 0;
    case SimOptions::Outcome::Version:
        std::cout << "strelo-sim " << LICHTWART_VERSION << '\n';
        return 0;
    case SimOptions::Outcome::Error:
        std::cerr << "strelo-sim: " << error << " (see strelo-sim --help)\n";
        return 2;
    case SimOptions::Outcome::Run:
        break;
    }
    strelosim::SimRunner runner(options, std::cout, std::cerr);
    return runner.Run();
}
