// The program with a window.
#include "process.hpp"
#include "workbench/window_program.hpp"

int main(int argc, char** argv) {
    using namespace vellmark;
    return RunInProcess([&](CommandContext& context) { return RunWindow(argc, argv, context); });
}
