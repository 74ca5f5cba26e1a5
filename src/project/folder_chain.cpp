#include "project/folder_chain.hpp"

#include <filesystem>
#include <system_error>

namespace vellmark {

ChainPtr ChainOf(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(folder, error);
    ChainPtr chain;
    if (error)
        return chain;
    std::filesystem::path step;
    for (const std::filesystem::path& part : path) {
        step /= part;
        chain = Below(chain, IdentityOf(PcFactsOf(step.string())));
    }
    return chain;
}

ChainPtr Below(const ChainPtr& above, const PcIdentity& folder) {
    return std::make_shared<FolderChain>(FolderChain{folder, above});
}

bool IsIn(const ChainPtr& chain, const PcIdentity& identity) {
    for (const FolderChain* link = chain.get(); link; link = link->above.get())
        if (link->identity == identity)
            return true;
    return false;
}

}  // namespace vellmark
