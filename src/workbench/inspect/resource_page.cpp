#include "workbench/inspect/resource_page.hpp"

#include <QAction>
#include <QTreeWidget>

#include "inspect/data_segment.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTree = 3006;
constexpr int kTextBinary = 3040;
constexpr int kTextHexadecimal = 3041;
constexpr int kTextBinaryTitle = 3606;
constexpr int kTextBinaryFilter = 3605;
constexpr int kTextHexadecimalTitle = 3602;
constexpr int kTextHexadecimalFilter = 3601;
constexpr int kHints = 100;

/// Of a larger resource the beginning is shown; all of it is saved.
constexpr std::uint64_t kMostShown = 256 << 10;

}  // namespace

ResourcePage::ResourcePage(TVellmark& window, RunLook look, QWidget* owner)
    : QSplitter(Qt::Vertical, owner),
      window_(window),
      look_(std::move(look)),
      list_(new QTreeWidget(this)),
      dump_(new PageView("OctetsRessource", this)) {
    list_->setObjectName(QStringLiteral("Ressources"));
    list_->setAccessibleName(window.text(kTextTree));
    list_->setHeaderHidden(true);
    list_->setUniformRowHeights(true);
    dump_->setAccessibleName(Words(Sentence::kPageOfBytes, window.language()));
    setChildrenCollapsible(false);
    setStretchFactor(1, 1);
    connect(list_, &QTreeWidget::currentItemChanged, this, [this] { showSelected(); });
    makeMenu();
}

void ResourcePage::makeMenu() {
    for (const bool isHexadecimal : {false, true}) {
        const int text = isHexadecimal ? kTextHexadecimal : kTextBinary;
        auto* const action = new QAction(window_.text(text), this);
        action->setObjectName(QLatin1String(isHexadecimal ? "SHex" : "SBin"));
        action->setStatusTip(window_.text(text + kHints).mid(1));
        connect(action, &QAction::triggered, this, [this, isHexadecimal] { save(isHexadecimal); });
        saves_[isHexadecimal ? 1 : 0] = action;
        for (QWidget* const each : {static_cast<QWidget*>(list_), static_cast<QWidget*>(dump_)}) {
            each->setContextMenuPolicy(Qt::ActionsContextMenu);
            each->addAction(action);
        }
    }
}

void ResourcePage::setPoints(int points) {
    dump_->setPoints(points);
    list_->setFont(PageFont(points));
}

void ResourcePage::setStyle(PageStyle style) {
    style_ = style;
    showSelected();
}

Reason ResourcePage::showFork(std::shared_ptr<ByteSource> fork) {
    fork_ = std::move(fork);
    tree_ = WalkResourceMap(*fork_, ResourceBaseOffset(*fork_));
    fillTree();
    showSelected();
    list_->setFocus();
    return tree_.problem;
}

void ResourcePage::fillTree() {
    const QSignalBlocker quiet(list_);
    list_->clear();
    QList<QTreeWidgetItem*> types;
    for (const ResourceType& type : tree_.types) {
        auto* const item = new QTreeWidgetItem({ToQString(ResourceTypeName(type))});
        for (const Resource& resource : type.resources)
            item->addChild(new QTreeWidgetItem({ToQString(ResourceLabel(resource))}));
        types << item;
    }
    list_->addTopLevelItems(types);
    if (!types.isEmpty())
        list_->setCurrentItem(types.first());
}

const Resource* ResourcePage::selected() const {
    const QModelIndex at = list_->currentIndex();
    if (!at.parent().isValid())
        return nullptr;
    return &tree_.types[static_cast<std::size_t>(at.parent().row())]
                .resources[static_cast<std::size_t>(at.row())];
}

// With its length in front, counted from there.
void ResourcePage::showSelected() {
    const Resource* const resource = selected();
    for (QAction* const each : saves_)
        each->setEnabled(resource != nullptr);
    std::vector<std::uint8_t> bytes;
    if (resource) {
        SliceSource source = resource->withLength(*fork_);
        bytes.resize(static_cast<std::size_t>(std::min(source.size(), kMostShown)));
        bytes.resize(source.readAt(0, bytes));
    }
    dump_->showLines(DumpLines(0, bytes, style_), 0, style_.base);
}

void ResourcePage::save(bool isHexadecimal) {
    const Resource* const resource = selected();
    if (!resource)
        return;
    SliceSource contents = resource->contents(*fork_);
    const DataSegment all{0, contents.size()};
    SaveBytesAs(window_, isHexadecimal ? kTextHexadecimalTitle : kTextBinaryTitle,
                DialogFilter(Text(isHexadecimal ? kTextHexadecimalFilter : kTextBinaryFilter,
                                  window_.language())),
                QString::number(resource->id) + QLatin1String(isHexadecimal ? ".hex" : ".bin"),
                this, look_, [&](ByteSink& file, Progress& progress) {
                    const SegmentEnd end =
                        isHexadecimal ? SaveSegmentAsText(contents, all, style_, file, progress)
                                      : SaveSegment(contents, all, file, 0, progress);
                    if (end == SegmentEnd::Stopped)
                        return Reason(Sentence::kStoppedAsWished);
                    return end == SegmentEnd::Done && resource->isWhole
                               ? Reason()
                               : Reason(Sentence::kContentsCutShort);
                });
}

}  // namespace vellmark
