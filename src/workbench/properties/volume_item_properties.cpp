#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>

#include "containers/finder_info.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "volume/path_changes.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/alias_dialog.hpp"
#include "workbench/properties/date_field.hpp"
#include "workbench/properties/item_properties.hpp"
#include "workbench/properties/signature_fields.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextFile = 1202;
constexpr int kTextCreated = 1203;
constexpr int kTextModified = 1204;
constexpr int kTextData = 1207;
constexpr int kTextResource = 1208;
constexpr int kTextFileName = 1209;
constexpr int kTextWrite = 1212;
constexpr int kTextEditAlias = 1213;
constexpr int kTextExtent = 1215;
constexpr int kTextFileNumber = 1216;
constexpr int kTextDataExtents = 1217;
constexpr int kTextResourceExtents = 1218;
constexpr int kTextAdvanced = 1219;
constexpr int kTextFolder = 1375;
constexpr int kTextContent = 1376;
constexpr int kTextFolderNumber = 1377;
constexpr int kTextFolderName = 1378;
constexpr int kTextItems = 1380;
constexpr int kTextHidden = 1381;
constexpr int kTextCustomIcon = 1382;
constexpr int kTextEnableFlags = 1458;
constexpr int kTextFlags = 1473;

constexpr int kWrite = 2;
constexpr int kGoThere = 3;
constexpr int kHexBase = 16;
constexpr int kMostExtentsShown = 5;

class VolumeItemDialog final : public FormDialog {
  public:
    VolumeItemDialog(TVellmark& window, const CatalogItem& item)
        : FormDialog("items", window.text(item.isFolder ? kTextFolder : kTextFile),
                     window.language(), &window),
          window_(window),
          item_(item) {
        addFact(item.isFolder ? kTextFolderName : kTextFileName, ToQString(Printable(item.name)));
        if (item.isFolder) {
            addFact(kTextContent, QString::number(item.valence) + words(kTextItems));
            addFact(kTextFolderNumber, QString::number(item.id));
        } else {
            addFileFacts();
        }
        created_ = NewDateField("Creation", localOf(item.created), this);
        addRow(words(kTextCreated), created_);
        modified_ = NewDateField("Modif", localOf(item.modified), this);
        addRow(words(kTextModified), modified_);
        hidden_ = addBox("Cache", kTextHidden, (item.finderFlags & kFinderInvisible) != 0);
        icon_ = addBox("Icone", kTextCustomIcon, (item.finderFlags & kFinderCustomIcon) != 0);
        addFlags();
        auto* const write = addButton("Ecrire", words(kTextWrite), kWrite);
        write->setDefault(true);
        write->setEnabled(!window.documents().partition->isReadOnly());
        if (!item.isFolder)
            addAliasButton();
        auto* const advanced = addButton("Avance", words(kTextAdvanced), kGoThere + 1);
        advanced->disconnect();
        connect(advanced, &QPushButton::clicked, this, [this, advanced] {
            advanced->setEnabled(false);
            showAdvanced();
            // Its rows may be wider than those above.
            layout()->activate();
            adjustSize();
        });
        addButton("MessFermer", words(kTextClose), Rejected);
    }

    DialogEnd ask() {
        int end = exec();
        for (; end == kWrite; end = exec()) {
            const Reason refusal = write();
            if (!refusal)
                return DialogEnd::Written;
            window_.messages().showMessage(refusal);
        }
        if (end == kGoThere)
            showTarget();
        return DialogEnd::Closed;
    }

  private:
    [[nodiscard]] UnixSeconds localOf(UnixSeconds at) const {
        return at + window_.context().clock.zoneOffset(at);
    }

    void addFileFacts() {
        const bool isFrench = language() == Language::French;
        signature_.emplace(*this, window_, item_.signature);
        addFact(kTextData, SizeWords(item_.data.sizeBytes, isFrench));
        addFact(kTextResource, SizeWords(item_.resource.sizeBytes, isFrench));
    }

    void addAliasButton() {
        auto* const button = addButton("EditAlias", words(kTextEditAlias), kGoThere);
        button->setEnabled((item_.finderFlags & kFinderAlias) != 0);
        button->disconnect();
        connect(button, &QPushButton::clicked, this, [this] {
            aliasTarget_ = ShowAlias(window_, item_, this);
            if (aliasTarget_)
                done(kGoThere);
        });
    }
    void showTarget() {
        if (aliasTarget_->id == kRootFolderId)
            window_.showFolder(static_cast<std::int32_t>(kRootFolderId));
        else
            window_.showItem(static_cast<std::int32_t>(aliasTarget_->parentId),
                             static_cast<std::int32_t>(aliasTarget_->id));
    }

    void addFlags() {
        flags_ = addField("Flags", kTextFlags,
                          QString::number(item_.finderFlags, kHexBase).rightJustified(4, u'0'), 4);
        editFlags_ = addBox("FlagsEdit", kTextEnableFlags, false);
        flags_->setEnabled(false);
        form().setRowVisible(flags_, false);
        form().setRowVisible(editFlags_, false);
        connect(editFlags_, &QCheckBox::toggled, flags_, &QWidget::setEnabled);
        lastField_ = editFlags_;
    }

    void showAdvanced() {
        form().setRowVisible(flags_, true);
        form().setRowVisible(editFlags_, true);
        if (item_.isFolder)
            return;
        addFact(kTextFileNumber, QString::number(item_.id));
        addExtents(kTextDataExtents, false);
        addExtents(kTextResourceExtents, true);
    }

    void addExtents(int caption, bool isResource) {
        VolumeContext& volume = window_.documents().partition->volume();
        std::vector<BlockRun> runs;
        (void)ForkRuns(volume, item_, isResource, runs);
        auto* const list = new QListWidget(this);
        for (const BlockRun& run : runs) {
            const std::uint64_t first = volume.blocksStart.number() +
                                        std::uint64_t{run.startBlock} * volume.sectorsPerBlock;
            list->addItem(WordsWith(kTextExtent, language(), first,
                                    std::uint64_t{run.blockCount} * volume.sectorsPerBlock));
        }
        // As wide as what stands in it, and high enough for few.
        const int frame = 2 * list->frameWidth();
        const int shown = std::clamp(list->count(), 1, kMostExtentsShown);
        list->setMinimumWidth(list->sizeHintForColumn(0) + 2 * frame +
                              list->verticalScrollBar()->sizeHint().width());
        list->setFixedHeight(shown * list->fontMetrics().lineSpacing() + 2 * frame);
        addRow(words(caption), list);
        // They are made last and stand above the buttons.
        setTabOrder(lastField_, list);
        lastField_ = list;
    }

    Reason write() {
        AttributeChange change;
        if (signature_)
            if (Reason refusal = signature_->read(change.type, change.creator))
                return refusal;
        const auto date = [this](const QDateTimeEdit& field, UnixSeconds before,
                                 std::optional<UnixSeconds>& to) {
            const UnixSeconds now = LocalSecondsOf(field);
            if (now != localOf(before))
                to = before + (now - localOf(before));
        };
        date(*created_, item_.created, change.created);
        date(*modified_, item_.modified, change.modified);
        const std::uint16_t flags = wantedFlags();
        change.setFlags = static_cast<std::uint16_t>(flags & ~item_.finderFlags);
        change.clearFlags = static_cast<std::uint16_t>(item_.finderFlags & ~flags);
        if (change.isEmpty())
            return {};
        WritableVolume* const volume = window_.documents().partition->writable();
        if (!volume)
            return window_.documents().partition->readOnlyReason();
        return ChangeAttributesAt(*volume, VolumePathOf(window_, item_), change,
                                  window_.context().clock)
            .problem;
    }

    [[nodiscard]] std::uint16_t wantedFlags() const {
        if (editFlags_->isChecked())
            return flags_->text().toUShort(nullptr, kHexBase);
        const auto with = [](std::uint16_t flags, std::uint16_t bit, bool on) {
            return static_cast<std::uint16_t>(on ? flags | bit : flags & ~bit);
        };
        return with(with(item_.finderFlags, kFinderInvisible, hidden_->isChecked()),
                    kFinderCustomIcon, icon_->isChecked());
    }

    TVellmark& window_;
    CatalogItem item_;
    std::optional<SignatureFields> signature_;
    QDateTimeEdit* created_ = nullptr;
    QDateTimeEdit* modified_ = nullptr;
    QCheckBox* hidden_ = nullptr;
    QCheckBox* icon_ = nullptr;
    QLineEdit* flags_ = nullptr;
    QCheckBox* editFlags_ = nullptr;
    QWidget* lastField_ = nullptr;
    std::optional<CatalogItem> aliasTarget_;
};

}  // namespace

DialogEnd ShowVolumeItem(TVellmark& window, const CatalogItem& item) {
    return VolumeItemDialog(window, item).ask();
}

}  // namespace vellmark
