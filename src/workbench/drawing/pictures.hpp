// The pictures of items and tools: shapes drawn once, coloured for the view that they stand in.
#pragma once

#include <QIcon>
#include <QString>
#include <string>
#include <unordered_map>

#include "workbench/models/item_source.hpp"

namespace vellmark {

/// A set of item pictures. They differ in more than their colours, so that they can be told apart
/// in grey.
enum class PictureSet : std::uint8_t { Iso, Hybrid, Hfs };

class Pictures {
  public:
    void setSet(PictureSet set) { set_ = set; }
    /// Another palette wants other lines.
    void setDark(bool isDark);
    [[nodiscard]] QIcon icon(const ItemPicture& picture) const;

  private:
    PictureSet set_ = PictureSet::Hybrid;
    bool isDark_ = false;
    mutable std::unordered_map<int, QIcon> icons_;
};

/// The picture of a tool, by the name of its file below `:/tools/`.
[[nodiscard]] QIcon ToolIcon(const QString& name, bool isDark);
/// The drawing below `:/` as a file of its own, in the colours of a light palette.
[[nodiscard]] std::string DrawnFile(const QString& path);
/// The program's own.
[[nodiscard]] QIcon ProgramIcon();

}  // namespace vellmark
