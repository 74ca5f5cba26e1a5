#include "workbench/inspect/resource_page.hpp"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "support/sentences.hpp"
#include "workbench/inspect/resource_look.hpp"
#include "workbench/inspect/resource_saving.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTree = 3006;
constexpr int kTextBinary = 3040;
constexpr int kTextHexadecimal = 3041;
constexpr int kHints = 100;

/// Of a larger resource the beginning is shown; all of it is saved.
constexpr std::uint64_t kMostShown = 256 << 10;

}  // namespace

ResourcePage::ResourcePage(TVellmark& window, RunLook look, QWidget* owner)
    : QSplitter(Qt::Vertical, owner),
      window_(window),
      look_(std::move(look)),
      list_(new QTreeWidget(this)),
      note_(new QLabel(this)),
      shown_(new ResourceLook(window.language(), this)),
      dump_(new PageView("OctetsRessource", this)) {
    auto* const upper = new QSplitter(Qt::Horizontal, this);
    upper->setChildrenCollapsible(false);
    auto* const left = new QWidget(upper);
    auto* const column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(list_, 1);
    column->addWidget(note_);
    upper->addWidget(shown_);
    insertWidget(0, upper);
    list_->setObjectName(QStringLiteral("Ressources"));
    list_->setAccessibleName(window.text(kTextTree));
    list_->setHeaderHidden(true);
    list_->setUniformRowHeights(true);
    note_->setObjectName(QStringLiteral("Remarque"));
    note_->setTextFormat(Qt::PlainText);
    note_->setWordWrap(true);
    note_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    dump_->setAccessibleName(Words(Sentence::kPageOfBytes, window.language()));
    setChildrenCollapsible(false);
    setStretchFactor(1, 1);
    connect(list_, &QTreeWidget::currentItemChanged, this, [this] { showSelected(); });
    makeCommands();
}

void ResourcePage::makeCommands() {
    const Language language = window_.language();
    const auto addCommand = [&](const char* name, const QString& caption, const QString& hint) {
        auto* const action = new QAction(caption, this);
        action->setObjectName(QLatin1String(name));
        action->setStatusTip(hint);
        commands_ << action;
        return action;
    };
    const auto addTold = [&](const char* name, int text) {
        return addCommand(name, window_.text(text), window_.text(text + kHints).mid(1));
    };
    QAction* const bytes = addTold("SBin", kTextBinary);
    QAction* const hexadecimal = addTold("SHex", kTextHexadecimal);
    QAction* const shown = addCommand("SVue", Words(Sentence::kSavePictureOrText, language),
                                      Words(Sentence::kSavePictureOrTextHint, language));
    QAction* const all = addCommand("STout", Words(Sentence::kSaveAllResources, language),
                                    Words(Sentence::kSaveAllResourcesHint, language));
    auto* const allForms = new QMenu(this);
    all->setMenu(allForms);
    const struct {
        QAction* one;
        const char* all;
        ResourceForm form;
    } kForms[] = {{bytes, "TBin", ResourceForm::Bytes},
                  {hexadecimal, "THex", ResourceForm::Hexadecimal},
                  {shown, "TVue", ResourceForm::Shown}};
    for (const auto& each : kForms) {
        connect(each.one, &QAction::triggered, this, [this, form = each.form] { save(form); });
        QAction* const action = allForms->addAction(each.one->text());
        action->setObjectName(QLatin1String(each.all));
        connect(action, &QAction::triggered, this, [this, form = each.form] { saveAll(form); });
    }
    for (QWidget* const each : {static_cast<QWidget*>(list_), static_cast<QWidget*>(dump_),
                                static_cast<QWidget*>(shown_)}) {
        each->setContextMenuPolicy(Qt::ActionsContextMenu);
        each->addActions(commands_);
    }
}

void ResourcePage::showEvent(QShowEvent* event) {
    QSplitter::showEvent(event);
    enableCommands();
}

void ResourcePage::hideEvent(QHideEvent* event) {
    QSplitter::hideEvent(event);
    enableCommands();
}

// In the menus of the viewer they stand while pages are seen, too.
void ResourcePage::enableCommands() {
    const bool isOne = isVisible() && selected().resource;
    for (QAction* const each : commands_)
        each->setEnabled(isOne);
    commands_[static_cast<int>(ResourceForm::Shown)]->setEnabled(isOne && hasLook_);
    commands_.last()->setEnabled(isVisible() && tree_.count() > 0);
}

void ResourcePage::setPoints(int points) {
    dump_->setPoints(points);
    list_->setFont(PageFont(points));
}

void ResourcePage::setStyle(PageStyle style) {
    style_ = style;
    showSelected();
}

void ResourcePage::showFork(std::shared_ptr<ByteSource> fork) {
    fork_ = std::move(fork);
    tree_ = WalkResourceMap(*fork_, ResourceBaseOffset(*fork_));
    fillTree();
    showSelected();
    list_->setFocus();
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
    list_->expandToDepth(0);
    if (!types.isEmpty())
        list_->setCurrentItem(types.first());
}

ResourcePage::Selected ResourcePage::selected() const {
    const QModelIndex at = list_->currentIndex();
    if (!at.parent().isValid())
        return {};
    const ResourceType& type = tree_.types[static_cast<std::size_t>(at.parent().row())];
    return {&type, &type.resources[static_cast<std::size_t>(at.row())]};
}

// With its length in front, counted from there.
void ResourcePage::showSelected() {
    const auto [type, resource] = selected();
    std::vector<std::uint8_t> bytes;
    hasLook_ = false;
    shown_->clear();
    if (resource) {
        SliceSource source = resource->withLength(*fork_);
        bytes.resize(static_cast<std::size_t>(std::min(source.size(), kMostShown)));
        bytes.resize(source.readAt(0, bytes));
        const ShownResource shown = ShowResource(*fork_, tree_, *type, *resource);
        hasLook_ = !shown.isEmpty();
        shown_->show(shown);
    }
    showNote(resource);
    dump_->showLines(DumpLines(0, bytes, style_), 0, style_.base);
    enableCommands();
}

void ResourcePage::showNote(const Resource* resource) {
    std::vector<Reason> notes = {tree_.problem};
    if (resource && !resource->isWhole)
        notes.emplace_back(Sentence::kContentsCutShort);
    if (resource && resource->length + Resource::kLengthBytes > kMostShown)
        notes.emplace_back(Sentence::kFirstBytesShown, kMostShown);
    note_->setText(Words(Reason::Joined(std::move(notes), "\n"), window_.language()));
    note_->setVisible(!note_->text().isEmpty());
}

void ResourcePage::save(ResourceForm form) {
    if (const auto [type, resource] = selected(); resource)
        SaveResource({window_, this, look_, *fork_, tree_, style_}, *type, *resource, form);
}

void ResourcePage::saveAll(ResourceForm form) {
    SaveAllResources({window_, this, look_, *fork_, tree_, style_}, form);
}

}  // namespace vellmark
