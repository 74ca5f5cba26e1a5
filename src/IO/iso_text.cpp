#include "IO/iso_text.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kZoneSeconds = 15 * 60;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <std::size_t Size>
std::string_view View(const std::array<char, Size>& digits) {
    return {digits.data(), Size};
}

// The number of a field of digits; -1 when it has something else.
template <std::size_t Size>
int NumberOf(const std::array<char, Size>& digits) {
    int number = 0;
    for (const char digit : digits) {
        if (!IsDigit(digit))
            return -1;
        number = number * 10 + (digit - '0');
    }
    return number;
}

// 0 when the parts are no date.
UnixSeconds InstantOf(int year, int month, int day, int hour, int minute, int second, int zone) {
    namespace chrono = std::chrono;
    if (month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0)
        return 0;
    const chrono::year_month_day date(chrono::year(year),
                                      chrono::month(static_cast<unsigned>(month)),
                                      chrono::day(static_cast<unsigned>(day)));
    if (!date.ok() || hour > 23 || minute > 59 || second > 59)
        return 0;
    const UnixSeconds midnight =
        UnixSeconds{chrono::sys_days(date).time_since_epoch().count()} * 86400;
    return midnight + hour * 3600 + minute * 60 + second - zone * kZoneSeconds;
}

}  // namespace

std::string IsoTextToUtf8(std::string_view bytes, IsoTree tree) {
    if (tree == IsoTree::Iso)
        return NarrowToUtf8(bytes);
    std::u16string wide;
    // A last odd byte is no unit.
    for (std::size_t at = 0; at + 2 <= bytes.size(); at += 2)
        wide += static_cast<char16_t>((static_cast<std::uint8_t>(bytes[at]) << 8) |
                                      static_cast<std::uint8_t>(bytes[at + 1]));
    return WideToUtf8(wide);
}

std::string IsoFieldText(std::string_view field, IsoTree tree) {
    std::string text = IsoTextToUtf8(field, tree);
    const std::size_t last = text.find_last_not_of(std::string_view(" \0", 2));
    text.resize(last == std::string::npos ? 0 : last + 1);
    return text;
}

std::string WithoutIsoVersion(std::string_view name, IsoTree tree) {
    const std::size_t semicolon = name.find_last_of(';');
    if (semicolon != std::string_view::npos && semicolon + 1 < name.size() &&
        std::all_of(name.begin() + static_cast<std::ptrdiff_t>(semicolon) + 1, name.end(), IsDigit))
        name = name.substr(0, semicolon);
    if (tree == IsoTree::Iso && name.size() > 1 && name.ends_with('.'))
        name.remove_suffix(1);
    return std::string(name);
}

std::string SafeIsoName(std::string name) {
    if (name == "." || name == "..")
        return std::string(name.size(), '_');
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    return name;
}

UnixSeconds IsoDateToUnix(const IsoShortDate& date) {
    return InstantOf(1900 + date.year, date.month, date.day, date.hour, date.minute, date.second,
                     date.zone);
}

UnixSeconds IsoLongDateToUnix(const IsoLongDate& date) {
    const int year = NumberOf(date.year);
    return year <= 0
               ? 0
               : InstantOf(year, NumberOf(date.month), NumberOf(date.day), NumberOf(date.hour),
                           NumberOf(date.minute), NumberOf(date.second), date.zone);
}

std::string IsoDateText(const IsoLongDate& date) {
    const std::string_view all(date.year.data(), sizeof(IsoLongDate) - 1);
    if (!std::all_of(all.begin(), all.end(), IsDigit) ||
        std::all_of(all.begin(), all.end(), [](char c) { return c == '0'; }))
        return {};
    const int minutes = std::abs(date.zone * 15);
    return fmt::format("{}-{}-{} {}:{}:{}.{} {}{:02}:{:02}", View(date.year), View(date.month),
                       View(date.day), View(date.hour), View(date.minute), View(date.second),
                       View(date.hundredths), date.zone < 0 ? '-' : '+', minutes / 60,
                       minutes % 60);
}

}  // namespace vellmark
