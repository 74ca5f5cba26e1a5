#include "workbench/settings/preferences_dialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>
#include <vector>

#include "session/setting_rows.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 1430;
constexpr int kTextNaming = 1447;

constexpr int kMostMegabytes = 17000;
constexpr int kMegabyteStep = 50;
constexpr int kMostExtension = 4;

enum class Page { General, Project, Partition, IsoPlus };
constexpr int kPageTitles[] = {1431, 1432, 1433, 1434};
constexpr const char* kPageNames[] = {"TabGen", "TabProj", "TabPart", "TabIsop"};

/// A box that stands for a bit of the options.
struct BitBox {
    Page page;
    const char* name;
    int caption;
    std::uint32_t Settings::*word;
    std::uint32_t bit;
};
constexpr BitBox kBoxes[] = {
    {Page::General, "SavMode", 1435, &Settings::vlOptions, kVlKeepMode},
    {Page::General, "SavTronq", 1436, &Settings::vlOptions, kVlShortenNames},
    {Page::General, "SavBack", 1438, &Settings::vlOptions, kVlNoBackup},
    {Page::General, "journal", 1440, &Settings::vlOptions, kVlOpenJournal},
    {Page::General, "Sequoia", 1443, &Settings::vlOptions, kVlNewHfsPlus},
    {Page::General, "CachBarr2", 1441, &Settings::options, kOptionHideToolBar},
    {Page::Project, "OpenRoot", 1439, &Settings::vlOptions, kVlOpenRoot},
    {Page::Project, "VolRefresh", 1341, &Settings::vlOptions, kVlRebuild},
    {Page::Partition, "Cache", 1445, &Settings::options, kOptionShowHidden},
    {Page::Partition, "ValDel", 1446, &Settings::options, kOptionDeleteSilently},
    {Page::Partition, "TronqAuto", 1494, &Settings::options, kOptionShortenImported},
    {Page::Partition, "AjoutCRC", 1495, &Settings::options, kOptionAddedCrc},
};

/// A size that the gauge goes by.
struct SizeField {
    Page page;
    const char* name;
    int caption;
    int Settings::*value;
};
constexpr SizeField kSizes[] = {
    {Page::Project, "EdMaxProj", 1437, &Settings::projectSizeMb},
    {Page::IsoPlus, "EdMaxIsop", 1455, &Settings::isoPlusSizeMb},
};

struct NamingChoice {
    Sentence words;
    std::uint32_t policy;
};
constexpr NamingChoice kNamings[] = {{Sentence::kNamingExtension, 1},
                                     {Sentence::kNamingCatalog, 4},
                                     {Sentence::kNamingAppend, 6},
                                     {Sentence::kNamingAsk, 2}};

class TVellPref final : public FormDialog {
  public:
    TVellPref(const Settings& now, Language language, QWidget* owner)
        : FormDialog("preferences", Words(kTextTitle, language), language, owner),
          now_(now),
          tabs_(new QTabWidget(this)) {
        tabs_->setAccessibleName(windowTitle());
        for (std::size_t i = 0; i < std::size(kPageTitles); ++i) {
            auto* const page = new QWidget(tabs_);
            page->setObjectName(QLatin1String(kPageNames[i]));
            pages_.push_back(new QFormLayout(page));
            tabs_->addTab(page, words(kPageTitles[i]));
        }
        for (const SizeField& size : kSizes)
            addSize(size);
        for (const BitBox& box : kBoxes)
            addBit(box);
        addNaming();
        addWide(tabs_);
        // All four pages can be seen at once.
        tabs_->setMinimumWidth(tabs_->tabBar()->sizeHint().width() + fontMetrics().height());
        addOkAndCancel();
        tabs_->setFocus();
    }

    [[nodiscard]] Settings settings() const {
        Settings wanted = now_;
        for (std::size_t i = 0; i < std::size(kBoxes); ++i) {
            const BitBox& box = kBoxes[i];
            wanted.*box.word =
                boxes_[i]->isChecked() ? wanted.*box.word | box.bit : wanted.*box.word & ~box.bit;
        }
        for (std::size_t i = 0; i < std::size(kSizes); ++i)
            wanted.*kSizes[i].value = sizes_[i]->value();
        const auto policy = static_cast<std::uint32_t>(naming_->currentData().toUInt());
        // The usual policy is also the one of those who never chose.
        if (policy != policyOf(now_))
            wanted.options = (wanted.options & ~std::uint32_t{kOptionNamingMask}) | policy;
        if (extends_->isChecked())
            wanted.options |= kOptionExtendUnknown;
        else
            wanted.options &= ~std::uint32_t{kOptionExtendUnknown};
        wanted.extension = extension_->text().trimmed().toStdString();
        return wanted;
    }

  private:
    [[nodiscard]] QFormLayout& page(Page which) { return *pages_[static_cast<std::size_t>(which)]; }

    static std::uint32_t policyOf(const Settings& settings) {
        const std::uint32_t policy = settings.options & kOptionNamingMask;
        return policy == 0 ? kNamings[0].policy : policy;
    }

    QCheckBox* newBox(const char* name, const QString& caption, bool isOn) {
        auto* const box = new QCheckBox(caption, tabs_);
        box->setObjectName(QLatin1String(name));
        box->setChecked(isOn);
        return box;
    }

    void addBit(const BitBox& box) {
        boxes_.push_back(newBox(box.name, words(box.caption), (now_.*box.word & box.bit) != 0));
        page(box.page).addRow(boxes_.back());
    }

    void addSize(const SizeField& size) {
        auto* const field = new QSpinBox(tabs_);
        field->setObjectName(QLatin1String(size.name));
        field->setRange(0, kMostMegabytes);
        field->setSingleStep(kMegabyteStep);
        field->setValue(now_.*size.value);
        field->setAccessibleName(words(size.caption));
        page(size.page).addRow(words(size.caption), field);
        sizes_.push_back(field);
    }

    void addNaming() {
        naming_ = new QComboBox(tabs_);
        naming_->setObjectName(QStringLiteral("Nommage"));
        naming_->setAccessibleName(words(kTextNaming));
        for (const NamingChoice& choice : kNamings)
            naming_->addItem(Words(choice.words, language()), choice.policy);
        naming_->setCurrentIndex(naming_->findData(policyOf(now_)));
        page(Page::Partition).addRow(words(kTextNaming), naming_);
        extends_ = newBox("ExtInconnue", Words(Sentence::kExtendUnknown, language()),
                          now_.has(kOptionExtendUnknown));
        page(Page::Partition).addRow(extends_);
        extension_ = new QLineEdit(ToQString(now_.extension), tabs_);
        extension_->setObjectName(QStringLiteral("Ext"));
        extension_->setMaxLength(kMostExtension);
        const QString caption = Words(Sentence::kGenericExtension, language());
        extension_->setAccessibleName(caption);
        page(Page::Partition).addRow(caption, extension_);
    }

    const Settings& now_;
    QTabWidget* tabs_;
    std::vector<QFormLayout*> pages_;
    std::vector<QCheckBox*> boxes_;
    std::vector<QSpinBox*> sizes_;
    QComboBox* naming_ = nullptr;
    QCheckBox* extends_ = nullptr;
    QLineEdit* extension_ = nullptr;
};

}  // namespace

std::optional<Settings> AskPreferences(TVellmark& window) {
    TVellPref dialog(window.state().settings, window.language(), &window);
    while (dialog.exec() == QDialog::Accepted) {
        Settings wanted = dialog.settings();
        const auto extension = SettingText(*SettingRowOf("extension"), wanted.extension, wanted);
        if (extension)
            return wanted;
        window.messages().showMessage(extension.error());
    }
    return std::nullopt;
}

}  // namespace vellmark
