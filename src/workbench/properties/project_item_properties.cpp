#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "project/item_properties.hpp"
#include "support/encoding.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/date_field.hpp"
#include "workbench/properties/item_properties.hpp"
#include "workbench/properties/signature_fields.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextAccessPath = 1019;
constexpr int kTextOriginalName = 1020;
constexpr int kTextIsoName = 1021;
constexpr int kTextHfsName = 1022;
constexpr int kTextInIso = 1024;
constexpr int kTextInHfs = 1025;
constexpr int kTextFile = 1202;
constexpr int kTextCreated = 1203;
constexpr int kTextModified = 1204;
constexpr int kTextData = 1207;
constexpr int kTextResource = 1208;
constexpr int kTextWrite = 1212;
constexpr int kTextCoding = 1296;
constexpr int kTextFirstCoding = 1296;
constexpr int kTextRefresh = 1301;
constexpr int kTextCustomIcon = 1302;
constexpr int kTextNone = 1300;
constexpr int kTextHiddenExtension = 1334;
constexpr int kTextHiddenInIso = 1336;
constexpr int kTextHiddenInHfs = 1337;
constexpr int kTextFolder = 1375;
constexpr int kTextContent = 1376;
constexpr int kTextFolderNumber = 1377;
constexpr int kTextItems = 1380;

constexpr int kWrite = 2;

QString CodingWords(ForkCoding coding, Language language) {
    switch (coding) {
        case ForkCoding::None:
            return Words(kTextNone, language);
        case ForkCoding::NamedStreams:
            return Words(1299, language);
        case ForkCoding::AppleFiles:
            return QStringLiteral("AppleSingle/AppleDouble");
        case ForkCoding::MacBinary:
            return Words(kTextFirstCoding + 1, language);
        case ForkCoding::BinHex:
            return Words(kTextFirstCoding + 2, language);
    }
    return {};
}

class ProjectItemDialog final : public FormDialog {
  public:
    ProjectItemDialog(TVellmark& window, ProjectFile& project, const ItemProperties& item)
        : FormDialog("items", window.text(item.isFolder ? kTextFolder : kTextFile),
                     window.language(), &window),
          window_(window),
          project_(project),
          item_(item) {
        addFact(kTextAccessPath, ToQString(Printable(item.accessPath)));
        addFact(kTextOriginalName, ToQString(Printable(item.sourceName)));
        addFact(kTextIsoName, ToQString(Printable(item.isoName)));
        if (isHybrid())
            addFact(kTextHfsName, ToQString(Printable(item.hfsName)));
        if (item.isFolder)
            addFolderFacts();
        else
            addFileFacts();
        created_ = NewDateField("Creation", LocalOf(item.created), this);
        addRow(words(kTextCreated), created_);
        modified_ = NewDateField("Modif", LocalOf(item.modified), this);
        addRow(words(kTextModified), modified_);
        addViews();
        addButton("Ecrire", words(kTextWrite), kWrite)->setDefault(true);
        addButton("MessFermer", words(kTextClose), Rejected);
    }

    DialogEnd ask() {
        while (exec() == kWrite) {
            const Reason refusal = write();
            if (!refusal)
                return isChanged_ ? DialogEnd::Written : DialogEnd::Unchanged;
            window_.messages().showMessage(refusal);
        }
        return isChanged_ ? DialogEnd::Written : DialogEnd::Closed;
    }

  private:
    [[nodiscard]] bool isHybrid() const { return project_.mode() == ProjectMode::Hybrid; }

    static UnixSeconds LocalOf(MacSeconds seconds) {
        return static_cast<UnixSeconds>(seconds) - kMacEpochOffset;
    }

    void addFolderFacts() {
        addFact(kTextContent, QString::number(item_.folders + item_.files) + words(kTextItems));
        addFact(kTextFolderNumber, QString::number(item_.number));
    }

    void addFileFacts() {
        const bool isFrench = language() == Language::French;
        signature_.emplace(*this, window_, item_.signature);
        addFact(kTextCoding, CodingWords(item_.coding, language()));
        addFact(kTextData, SizeWords(item_.dataBytes, isFrench));
        addFact(kTextResource, SizeWords(item_.resourceBytes, isFrench));
    }

    void addViews() {
        if (isHybrid()) {
            inIso_ = addBox("InIso", kTextInIso, item_.views.iso);
            inHfs_ = addBox("InHfs", kTextInHfs, item_.views.hfs);
        }
        hiddenInIso_ = addBox("CacheIso", kTextHiddenInIso, item_.isHiddenInIso);
        hiddenInHfs_ = addBox("CacheHfs", kTextHiddenInHfs, item_.isHiddenInHfs);
        icon_ = addBox("Icone", kTextCustomIcon, item_.hasCustomIcon);
        if (!item_.isFolder)
            extension_ = addBox("Extension", kTextHiddenExtension, item_.hidesExtension);
        else if (!item_.isMadeHere)
            refresh_ = addBox("Rafraichir", kTextRefresh, item_.isRefreshed);
    }

    // Only what is not as it was: a field may show less than the record has.
    [[nodiscard]] Result<ItemChanges> changes() const {
        ItemChanges wanted;
        const auto box = [](const QCheckBox* field, bool before, std::optional<bool>& to) {
            if (field && field->isChecked() != before)
                to = field->isChecked();
        };
        box(hiddenInIso_, item_.isHiddenInIso, wanted.isHiddenInIso);
        box(hiddenInHfs_, item_.isHiddenInHfs, wanted.isHiddenInHfs);
        box(icon_, item_.hasCustomIcon, wanted.hasCustomIcon);
        box(extension_, item_.hidesExtension, wanted.hidesExtension);
        box(refresh_, item_.isRefreshed, wanted.isRefreshed);
        const auto date = [](const QDateTimeEdit& field, MacSeconds before,
                             std::optional<MacSeconds>& to) {
            const UnixSeconds now = LocalSecondsOf(field);
            if (now != LocalOf(before))
                to = static_cast<MacSeconds>(now + kMacEpochOffset);
        };
        date(*created_, item_.created, wanted.created);
        date(*modified_, item_.modified, wanted.modified);
        if (signature_)
            if (Reason refusal = signature_->read(wanted.type, wanted.creator))
                return tl::unexpected(refusal);
        return wanted;
    }

    Reason write() {
        const Result<ItemChanges> wanted = changes();
        if (!wanted)
            return wanted.error();
        const ViewChoice views =
            inIso_ ? ViewChoice{inIso_->isChecked(), inHfs_->isChecked()} : item_.views;
        // A name may have to be asked for, and the list is not to look at half a change then.
        Reason refusal;
        window_.runJob(JobKind::Work, [&](Progress&) { refusal = change(*wanted, views); });
        return refusal;
    }

    Reason change(const ItemChanges& wanted, const ViewChoice& views) {
        if (views.iso != item_.views.iso || views.hfs != item_.views.hfs) {
            const auto moved = SetItemViews(project_, item_.number, views, NameAnswers(window_),
                                            window_.messages());
            if (!moved)
                return moved.error();
            isChanged_ = isChanged_ || *moved > 0;
            item_.views = views;
        }
        Reason refusal = ChangeItem(project_, item_.number, wanted);
        isChanged_ = isChanged_ || !refusal;
        return refusal;
    }

    TVellmark& window_;
    ProjectFile& project_;
    ItemProperties item_;
    bool isChanged_ = false;
    std::optional<SignatureFields> signature_;
    QDateTimeEdit* created_ = nullptr;
    QDateTimeEdit* modified_ = nullptr;
    QCheckBox* inIso_ = nullptr;
    QCheckBox* inHfs_ = nullptr;
    QCheckBox* hiddenInIso_ = nullptr;
    QCheckBox* hiddenInHfs_ = nullptr;
    QCheckBox* icon_ = nullptr;
    QCheckBox* extension_ = nullptr;
    QCheckBox* refresh_ = nullptr;
};

}  // namespace

DialogEnd ShowProjectItem(TVellmark& window, std::int32_t number) {
    ProjectFile& project = *window.documents().projectOfMode()->file;
    const std::optional<ItemProperties> item = PropertiesOf(project, number);
    return item ? ProjectItemDialog(window, project, *item).ask() : DialogEnd::Unchanged;
}

}  // namespace vellmark
