// What a tree and a list show of an open document: the one interface behind which a project and a
// volume look alike.
#pragma once

#include <QString>
#include <cstdint>
#include <vector>

#include "support/clock.hpp"

namespace vellmark {

/// The shape of an item's picture; the view that it is shown in has its own set of them.
enum class Picture : std::uint8_t {
    Disc,
    Folder,
    File,
    Text,
    Image,
    Sound,
    Film,
    Archive,
    Program,
    Count
};
/// What the picture says of an item beside its shape.
enum class PictureState : std::uint8_t {
    Plain,
    BothViews,
    IsoAlone,
    HfsAlone,
    NoView,
    MissingInBoth,
    MissingInIso,
    MissingInHfs
};
struct ItemPicture {
    Picture shape = Picture::File;
    PictureState state = PictureState::Plain;
};

/// A folder as the tree shows it.
struct TreeFolder {
    std::int32_t number = 0;
    QString name;
    ItemPicture picture;
    bool hasFolders = false;
};

/// An item as the list shows it.
struct RowFacts {
    std::int32_t number = 0;
    bool isFolder = false;
    QString name;
    ItemPicture picture;
    std::int64_t items = 0;  ///< directly in a folder
    std::uint64_t dataBytes = 0;
    std::uint64_t resourceBytes = 0;
    /// Seconds since 1970 in local time; 0 for none.
    UnixSeconds created = 0;
    UnixSeconds modified = 0;
    QString type;       ///< what the signature table calls it; "" of a folder
    QString signature;  ///< type and creator; "" of a folder
};

/// What stands in one folder.
struct FolderTotals {
    std::int64_t folders = 0;
    std::int64_t files = 0;
    std::uint64_t bytes = 0;
};

enum Column : int {
    kColumnName,
    kColumnType,
    kColumnData,
    kColumnResource,
    kColumnCreated,
    kColumnModified,
    kColumnSignature,
    kColumnCount
};

/// All numbers of folders and items are those of the document. What it answers is that of the
/// document as it is now; the rows of a listing are good until the document changes.
class ItemSource {
  public:
    virtual ~ItemSource() = default;

    [[nodiscard]] virtual TreeFolder root() const = 0;
    /// The folders directly in a folder, sorted by their names byte by byte.
    [[nodiscard]] virtual std::vector<TreeFolder> folders(std::int32_t folder) = 0;
    /// The folder that holds a folder; the root holds itself.
    [[nodiscard]] virtual std::int32_t parentOf(std::int32_t folder) = 0;

    /// Makes the rows those of a folder.
    virtual void list(std::int32_t folder) = 0;
    [[nodiscard]] virtual std::size_t count() const = 0;
    /// Number of the item of a row, `row` below `count()`, and so the next one.
    [[nodiscard]] virtual std::int32_t numberAt(std::size_t row) const = 0;
    [[nodiscard]] virtual RowFacts facts(std::size_t row) const = 0;
    /// Puts the rows in the order of a column.
    virtual void sort(Column column, bool isDescending) = 0;
    [[nodiscard]] virtual FolderTotals totals() const = 0;
    /// The row of an item of the listing, `count()` when it is not there.
    [[nodiscard]] std::size_t rowOf(std::int32_t number) const;
};

/// The kind of data under which items are moved within the window.
inline constexpr const char* kItemsMimeType = "application/x-vellmark-items";

/// The bytes as a person writes their number.
[[nodiscard]] QString SizeWords(std::uint64_t bytes, bool isFrench);
/// `21/11/2026  09:05`; "" for 0.
[[nodiscard]] QString DateWords(UnixSeconds local);

/// The shape for a Macintosh type of four bytes, and for the extension of a PC name.
[[nodiscard]] Picture PictureOfType(std::string_view type);
[[nodiscard]] Picture PictureOfName(std::string_view name);

}  // namespace vellmark
