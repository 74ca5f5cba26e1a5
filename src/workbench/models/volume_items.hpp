// The folders and items of a mounted volume.
#pragma once

#include <vector>

#include "containers/signatures.hpp"
#include "support/texts.hpp"
#include "volume/catalog.hpp"
#include "workbench/models/item_source.hpp"

namespace vellmark {

class VolumeItems final : public ItemSource {
  public:
    /// All of it outlives the source.
    VolumeItems(VolumeContext& volume, const SignatureTable& signatures, Language language,
                const Clock& clock)
        : volume_(volume), signatures_(signatures), language_(language), clock_(clock) {}

    /// Whether items are there that the Finder does not show; at first they are.
    void setShowsHidden(bool shows) { showsHidden_ = shows; }

    [[nodiscard]] TreeFolder root() const override;
    [[nodiscard]] std::vector<TreeFolder> folders(std::int32_t folder) override;
    [[nodiscard]] std::int32_t parentOf(std::int32_t folder) override;
    void list(std::int32_t folder) override;
    [[nodiscard]] std::size_t count() const override { return rows_.size(); }
    [[nodiscard]] std::int32_t numberAt(std::size_t row) const override {
        return static_cast<std::int32_t>(rows_[row].id);
    }
    [[nodiscard]] RowFacts facts(std::size_t row) const override;
    void sort(Column column, bool isDescending) override;
    [[nodiscard]] FolderTotals totals() const override { return totals_; }

    /// The item of a row, `row` below `count()`.
    [[nodiscard]] const CatalogItem& item(std::size_t row) const { return rows_[row]; }
    /// What was wrong with the catalog at the last listing; none for nothing.
    [[nodiscard]] const Reason& problem() const { return problem_; }

  private:
    [[nodiscard]] TreeResult listShown(std::int32_t folder, std::vector<CatalogItem>& items);
    [[nodiscard]] std::string_view typeOf(const CatalogItem& item) const;
    [[nodiscard]] UnixSeconds localOf(MacSeconds seconds) const;

    VolumeContext& volume_;
    const SignatureTable& signatures_;
    Language language_;
    const Clock& clock_;
    bool showsHidden_ = true;
    std::vector<CatalogItem> rows_;
    FolderTotals totals_;
    Reason problem_;
};

}  // namespace vellmark
