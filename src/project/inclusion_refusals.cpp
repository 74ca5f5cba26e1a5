#include "project/inclusion_refusals.hpp"

#include <cerrno>
#include <limits>

#include "project/pc_sources.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"

namespace vellmark {

Reason InclusionRefusal(const PcItem& item, const std::string& folder,
                        const std::string& accessPath) {
    const PcFacts& facts = item.facts;
    if (facts.kind == PcKind::Missing) {
        // A folder that may be listed need not let us look at its items.
        if (const int error = ReadRefusal(folder + item.name); error != 0 && error != ENOENT)
            return SystemError{error};
        return facts.isLink ? Sentence::kLinkToNowhere : Sentence::kNotFound;
    }
    if (facts.kind == PcKind::Special)
        return Sentence::kItemIsSpecial;
    if (facts.kind == PcKind::Folder)
        if (const int error = ReadRefusal(folder + item.name); error != 0)
            return SystemError{error};
    if (Reason refusal = SizeRefusal(facts))
        return refusal;
    const std::string sourceName = SourceNameOf(item);
    if (accessPath.empty() || sourceName.empty())
        return Sentence::kNoNarrowPath;
    if (accessPath.size() > kAccessPathLimit)
        return Reason(Sentence::kFolderPathTooLong, accessPath.size(), kAccessPathLimit);
    if (sourceName.size() > kSourceNameLimit)
        return Reason(Sentence::kSourceNameTooLong, sourceName.size(), kSourceNameLimit);
    return {};
}

Reason SizeRefusal(const PcFacts& facts) {
    if (facts.kind != PcKind::File || facts.sizeBytes <= std::numeric_limits<std::uint32_t>::max())
        return {};
    return Reason(Sentence::kItemTooLarge, facts.sizeBytes);
}

}  // namespace vellmark
