#include "session/reading_ports.hpp"

namespace vellmark {

ReadingPorts PortsOf(const CommandContext& context, Terminal& terminal) {
    return {.messages = terminal.messages,
            .progress = terminal.progress,
            .clock = context.clock,
            .guard = context.guard,
            .asks = context.asks};
}

std::optional<PlainImage> OpenPlainImage(const std::string& named, Access access,
                                         CommandContext& context, Terminal& terminal) {
    const ReadingPorts ports = PortsOf(context, terminal);
    std::optional<PlainImage> image = PlainImage::Choose(named, access, ports);
    if (!image || !image->isCompressed())
        return image;
    const StopSignals signals;
    const bool isExpanded = image->expand(ports);
    terminal.progress.clear();
    context.readIncomplete = context.readIncomplete || image->isIncomplete();
    return isExpanded ? std::move(image) : std::nullopt;
}

}  // namespace vellmark
