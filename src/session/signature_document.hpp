// A signature file that is being edited, and how it is kept.
#pragma once

#include <string>
#include <string_view>

#include "containers/signature_text.hpp"
#include "support/result.hpp"
#include "support/texts.hpp"

namespace vellmark {

class SignatureDocument {
  public:
    /// An empty one without a name. The entries are those of the language.
    explicit SignatureDocument(Language language) : isFrench_(language == Language::French) {}

    /// Takes a file in place of what was there. When it cannot, the reason, and all stays.
    [[nodiscard]] Reason open(const std::string& path);
    /// The same, as the beginning of a file that has no name yet.
    [[nodiscard]] Reason openAsNew(const std::string& path);
    /// An empty one again.
    void clear() { *this = SignatureDocument(isFrench_ ? Language::French : Language::English); }

    /// Writes the file, which is called so from then on. A file of that name stays beside it with
    /// the extension .bak, which takes the place of an older one and of nothing else. What stands
    /// around the entries in a file that is there, other than the one that was opened, stays. When
    /// it cannot be written, the reason, and the older file has its name and its bytes.
    [[nodiscard]] Reason save(const std::string& path);

    /// "" for none yet.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] bool isChanged() const { return isChanged_; }
    [[nodiscard]] const SignatureText& text() const { return text_; }
    /// The same, to be changed.
    [[nodiscard]] SignatureText& changed() {
        isChanged_ = true;
        return text_;
    }

  private:
    [[nodiscard]] Reason write(const std::string& path, std::string_view bytes, bool isThere);

    bool isFrench_;
    std::string path_;
    std::string bytes_;  // of the file as it was read or written last
    SignatureText text_;
    bool isChanged_ = false;
};

}  // namespace vellmark
