#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "session/program.hpp"
#include "session/user_folders.hpp"

int main(int argc, char** argv) {
    using namespace vellmark;
    const SystemClock clock;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code ignored;
    const std::string temporary = std::filesystem::temp_directory_path(ignored).string();
    const bool showsErrors = ::isatty(STDERR_FILENO) != 0;
    CommandContext context{
        .input = std::cin,
        .output = std::cout,
        .errors = std::cerr,
        .clock = clock,
        // A question is written to the errors: it can only be answered where it can be read.
        .asks = showsErrors && ::isatty(STDIN_FILENO) != 0,
        .showsProgress = showsErrors,
        .lockFolder = RuntimeFolder(runtime ? runtime : "", temporary)};
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return RunProgram(arguments, context);
}
