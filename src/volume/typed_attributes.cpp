#include "volume/typed_attributes.hpp"

#include <algorithm>
#include <ctime>

#include "support/mac_dates.hpp"

namespace vellmark {

namespace {

// Every date that a volume can keep lies between these.
bool IsMacDate(UnixSeconds date) {
    return FromMacGmt(ToMacGmt(date)) == date;
}

}  // namespace

std::uint16_t FinderFlagsOf(const std::vector<std::string>& names) {
    unsigned bits = 0;
    for (const FinderFlag& flag : kFinderFlags)
        if (std::find(names.begin(), names.end(), flag.name) != names.end())
            bits |= flag.bit;
    return static_cast<std::uint16_t>(bits);
}

std::optional<UnixSeconds> TypedDate(const std::string& typed) {
    for (const char* form : {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S",
                             "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm parts{};
        const char* end = ::strptime(typed.c_str(), form, &parts);
        if (end == nullptr || *end != '\0')
            continue;
        // 31 February would become a day of March.
        std::tm counted = parts;
        const UnixSeconds date = ::timegm(&counted);
        return counted.tm_mday == parts.tm_mday && counted.tm_sec == parts.tm_sec && IsMacDate(date)
                   ? std::optional(date)
                   : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace vellmark
