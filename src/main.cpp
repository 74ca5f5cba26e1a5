// The program of the command line. Without a verb it becomes the one with a window, which is a
// program of its own so that no verb waits for the toolkit to load.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "process.hpp"
#include "session/program.hpp"

namespace {

// Beside this program. Returns only when it could not be started: the system's error number.
int BecomeWindow(const std::string& file) {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string program = (self.parent_path() / "vellmark-window").string();
    ::execl(program.c_str(), program.c_str(), file.empty() ? nullptr : file.c_str(), nullptr);
    return errno;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace vellmark;
    return RunInProcess([&](CommandContext& context) {
        context.becomeWindow = BecomeWindow;
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        return RunProgram(arguments, context);
    });
}
