#include <string>
#include <vector>

#include "session/verbs.hpp"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return vellmark::RunCommandLine(arguments);
}
