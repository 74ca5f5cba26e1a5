// The folders and items of a project, as one of its views has them.
#pragma once

#include <vector>

#include "containers/signatures.hpp"
#include "project/project_file.hpp"
#include "support/texts.hpp"
#include "workbench/models/item_source.hpp"

namespace vellmark {

class ProjectItems final : public ItemSource {
  public:
    /// All of it outlives the source.
    ProjectItems(const ProjectFile& project, ProjectView view, const SignatureTable& signatures,
                 Language language)
        : project_(project), view_(view), signatures_(signatures), language_(language) {}

    [[nodiscard]] TreeFolder root() const override;
    [[nodiscard]] std::vector<TreeFolder> folders(std::int32_t folder) override;
    [[nodiscard]] std::int32_t parentOf(std::int32_t folder) override;
    void list(std::int32_t folder) override;
    [[nodiscard]] std::size_t count() const override { return rows_.size(); }
    [[nodiscard]] std::int32_t numberAt(std::size_t row) const override {
        return rows_[row]->number;
    }
    [[nodiscard]] RowFacts facts(std::size_t row) const override;
    void sort(Column column, bool isDescending) override;
    [[nodiscard]] FolderTotals totals() const override { return totals_; }

  private:
    [[nodiscard]] ItemPicture pictureOf(const ProjectRecord& record) const;
    [[nodiscard]] std::string_view typeOf(const ProjectRecord& record) const;

    const ProjectFile& project_;
    ProjectView view_;
    const SignatureTable& signatures_;
    Language language_;
    std::vector<const ProjectRecord*> rows_;
    FolderTotals totals_;
};

}  // namespace vellmark
