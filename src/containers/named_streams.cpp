#include "containers/named_streams.hpp"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

namespace vellmark {

namespace {

using Value = std::vector<std::uint8_t>;

/// Where a stream's bytes may lie.
struct StreamNames {
    const char* plain;
    const char* byServer;  ///< values under such a name may have a zero byte too many
};
constexpr StreamNames kResource = {"user.AFP_Resource", "user.DosStream.AFP_Resource:$DATA"};
constexpr StreamNames kAfpInfo = {"user.AFP_AfpInfo", "user.DosStream.AFP_AfpInfo:$DATA"};

/// Bytes of AFP_AfpInfo up to the end of the Finder's flags; some writers leave out what follows.
constexpr std::size_t kToldAfpInfo = offsetof(AfpInfo, finder) + offsetof(FinderInfo, locationV);
/// The kernel takes no longer value.
constexpr std::size_t kMostBytes = 64 * 1024;
constexpr std::string_view kNoSignature = "TEXTLMAN";

bool HasAttribute(const std::string& path, const char* name) {
    return ::getxattr(path.c_str(), name, nullptr, 0) >= 0;
}

bool HasStream(const std::string& path, const StreamNames& names) {
    return HasAttribute(path, names.plain) || HasAttribute(path, names.byServer);
}

// Nothing when there is none, or when it cannot be read: then `error` is not 0.
std::optional<Value> ReadAttribute(const std::string& path, const char* name, int& error) {
    Value value(kMostBytes);
    const ssize_t got = ::getxattr(path.c_str(), name, value.data(), value.size());
    if (got < 0) {
        error = errno == ENODATA || errno == ENOTSUP ? 0 : errno;
        return std::nullopt;
    }
    value.resize(static_cast<std::size_t>(got));
    return value;
}

// The end of the map by the header of a resource fork; 0 when there is no header.
std::uint64_t EndOfMap(const Value& fork) {
    struct {
        be32 dataOffset;
        be32 mapOffset;
        be32 dataLength;
        be32 mapLength;
    } header;
    static_assert(sizeof header == 16);
    if (fork.size() < sizeof header)
        return 0;
    std::copy_n(fork.begin(), sizeof header, reinterpret_cast<std::uint8_t*>(&header));
    return std::uint64_t{header.mapOffset} + header.mapLength;
}

bool HasByteTooMany(const std::string& path, const Value& fork) {
    if (fork.empty() || fork.back() != 0)
        return false;
    int error = 0;
    if (const auto info = ReadAttribute(path, kAfpInfo.byServer, error))
        return info->size() == sizeof(AfpInfo) + 1;
    return EndOfMap(fork) == fork.size() - 1;
}

}  // namespace

bool HasNamedStreams(const std::string& path) {
    // Most files have no attributes at all, which one call shows.
    if (::listxattr(path.c_str(), nullptr, 0) == 0)
        return false;
    return HasStream(path, kResource) || HasStream(path, kAfpInfo);
}

std::optional<FinderInfo> ReadAfpInfo(const std::string& path) {
    int error = 0;
    std::optional<Value> value = ReadAttribute(path, kAfpInfo.plain, error);
    if (!value)
        value = ReadAttribute(path, kAfpInfo.byServer, error);
    AfpInfo info;
    if (!value || value->size() < kToldAfpInfo)
        return std::nullopt;
    std::copy_n(value->begin(), std::min(value->size(), sizeof info),
                reinterpret_cast<std::uint8_t*>(&info));
    if (info.signature != kAfpInfoSignature)
        return std::nullopt;
    if (std::equal(kNoSignature.begin(), kNoSignature.end(), info.finder.signature.begin()))
        info.finder.signature = {};
    return info.finder;
}

int ReadResourceStream(const std::string& path, MemoryBytes& fork) {
    int error = 0;
    std::optional<Value> value = ReadAttribute(path, kResource.plain, error);
    if (!value && error == 0) {
        value = ReadAttribute(path, kResource.byServer, error);
        if (value && HasByteTooMany(path, *value))
            value->pop_back();
    }
    fork = value ? MemoryBytes(std::move(*value)) : MemoryBytes();
    return error;
}

}  // namespace vellmark
