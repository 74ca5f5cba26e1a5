#include "workbench/dialogs/search_dialog.hpp"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "containers/names.hpp"
#include "project/project_search.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_search.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/dialogs/list_choice.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/signatures/signature_choice.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextNotFound = 1173;
constexpr int kTextNoAlias = 1192;
constexpr int kTextSelect = 1196;
constexpr int kTextLocate = 1241;
constexpr int kTextSearch = 1242;
constexpr int kTextByName = 1243;
constexpr int kTextBySignature = 1244;
constexpr int kTextTable = 1245;

constexpr int kMostSignature = 8;

struct Hits {
    std::vector<FoundItem> items;
    std::vector<std::string> paths;
    std::size_t most = 0;  ///< that are shown

    [[nodiscard]] bool hasMore() const { return items.size() > most; }

    void add(FoundItem item, std::string path) {
        items.push_back(item);
        paths.push_back(Printable(path));
    }
};

enum class SearchBy { Name, Signature, Alias };

struct Sought {
    SearchBy by = SearchBy::Name;
    std::string text;  ///< as it was typed
};

std::string SignatureBytes(const std::string& text) {
    return WideToMacName(Utf8ToWide(text));
}

Hits SearchProject(TVellmark& window, const Sought& sought) {
    const ProjectFile& project = *window.documents().projectOfMode()->file;
    Hits hits;
    hits.most = kMostProjectHits;
    window.runJob(JobKind::Work, [&](Progress&) {
        const std::vector<std::int32_t> found =
            sought.by == SearchBy::Signature
                ? FindItemsBySignature(project, SignatureBytes(sought.text), hits.most + 1)
                : FindItemsByName(project, Utf8ToNarrow(sought.text),
                                  window.documents().shownView(), hits.most + 1);
        for (const std::int32_t number : found)
            if (const ProjectRecord* const record = project.findByNumber(number))
                hits.add({record->parent, number},
                         ItemPath(project, record->parent, record->sourceName()));
    });
    return hits;
}

TreeResult FindInVolume(VolumeContext& volume, const Sought& sought, std::vector<SearchHit>& found,
                        std::size_t most) {
    switch (sought.by) {
        case SearchBy::Name:
            return FindByName(volume, sought.text, found, most);
        case SearchBy::Signature:
            return FindBySignature(volume, SignatureBytes(sought.text), found, most);
        case SearchBy::Alias:
            break;
    }
    return FindAliases(volume, found, most);
}

Hits SearchVolume(TVellmark& window, const Sought& sought) {
    Hits hits;
    hits.most = kMostHits;
    window.runJob(JobKind::Work, [&](Progress&) {
        VolumeContext& volume = window.documents().partition->volume();
        std::vector<SearchHit> found;
        const TreeResult result = FindInVolume(volume, sought, found, hits.most + 1);
        if (const Reason problem = CatalogProblem(result, Sentence::kPlaceInRootFolder))
            window.messages().showMessage(problem);
        for (const SearchHit& hit : found) {
            std::optional<CatalogItem> item;
            (void)FindNamed(volume, hit.parentId, hit.name, window.context().clock, item);
            if (item)
                hits.add(
                    {static_cast<std::int32_t>(hit.parentId), static_cast<std::int32_t>(item->id)},
                    PathOf(volume, hit));
        }
    });
    return hits;
}

// Bytes of the table as a person types them here.
QString SignatureLetters(std::string_view bytes) {
    return ToQString(WideToUtf8(MacNameToWide(bytes)));
}

class TRechFich final : public FormDialog {
  public:
    explicit TRechFich(TVellmark& window)
        : FormDialog("search", window.text(kTextLocate), window.language(), &window),
          window_(window),
          pages_(new QTabWidget(this)) {
        name_ = addPage(kTextByName, "RechNom", 0);
        signature_ = addPage(kTextBySignature, "RechSign", kMostSignature);
        addTableButton();
        if (!window.documents().projectOfMode())
            addAliasPage();
        addWide(pages_);
        pages_->setAccessibleName(words(kTextLocate));
        // All pages can be seen at once.
        pages_->setMinimumWidth(pages_->tabBar()->sizeHint().width() + fontMetrics().height());
        search_ = addButton("Rechercher", words(kTextSearch), Accepted);
        search_->setDefault(true);
        addButton("Cancel", words(kTextCancel), Rejected);
        connect(pages_, &QTabWidget::currentChanged, this, [this] { update(); });
        update();
        name_->setFocus();
    }

    [[nodiscard]] Sought sought() const {
        const auto by = static_cast<SearchBy>(pages_->currentIndex());
        return {by, by == SearchBy::Alias ? std::string() : field(by)->text().toStdString()};
    }

  private:
    // In the order of `SearchBy`.
    QLineEdit* addPage(int caption, const char* name, int most) {
        auto* page = new QWidget(pages_);
        auto* field = new QLineEdit(page);
        (new QVBoxLayout(page))->addWidget(field);
        field->setObjectName(QLatin1String(name));
        field->setAccessibleName(words(caption));
        if (most > 0)
            field->setMaxLength(most);
        pages_->addTab(page, words(caption));
        connect(field, &QLineEdit::textChanged, this, [this] { update(); });
        return field;
    }

    void addTableButton() {
        auto* const button = new QPushButton(words(kTextTable) + QStringLiteral("..."), this);
        button->setObjectName(QStringLiteral("TableSign"));
        button->setAutoDefault(false);
        signature_->parentWidget()->layout()->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this] {
            if (const auto row = ChooseSignature(window_, this)) {
                signature_->setText(SignatureLetters(row->signature));
                signature_->setFocus();
            }
        });
    }

    void addAliasPage() {
        auto* const page = new QWidget(pages_);
        auto* const note = new QLabel(Words(Sentence::kSearchAliasesNote, language()), page);
        note->setWordWrap(true);
        (new QVBoxLayout(page))->addWidget(note);
        pages_->addTab(page, Words(Sentence::kSearchAliases, language()));
    }

    [[nodiscard]] QLineEdit* field(SearchBy by) const {
        return by == SearchBy::Name ? name_ : signature_;
    }

    void update() {
        const auto by = static_cast<SearchBy>(pages_->currentIndex());
        if (search_)
            search_->setEnabled(by == SearchBy::Alias || !field(by)->text().isEmpty());
    }

    TVellmark& window_;
    QTabWidget* pages_;
    QLineEdit* name_ = nullptr;
    QLineEdit* signature_ = nullptr;
    QPushButton* search_ = nullptr;
};

}  // namespace

std::optional<FoundItem> AskForItem(TVellmark& window) {
    TRechFich dialog(window);
    while (dialog.exec() == QDialog::Accepted) {
        const Sought sought = dialog.sought();
        const Hits hits = window.documents().projectOfMode() ? SearchProject(window, sought)
                                                             : SearchVolume(window, sought);
        if (hits.items.empty()) {
            window.messages().showMessage(sought.by == SearchBy::Alias
                                              ? Reason::Told(kTextNoAlias)
                                              : Reason::Told(kTextNotFound, sought.text));
            continue;
        }
        if (hits.hasMore())
            window.messages().showMessage(Reason(Sentence::kFirstHitsOnly, hits.most));
        const std::span<const std::string> paths(hits.paths);
        const auto chosen = ChooseFromList(Text(kTextSelect, window.language()),
                                           paths.first(std::min(paths.size(), hits.most)),
                                           window.language(), &window);
        return chosen ? std::optional(hits.items[*chosen]) : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace vellmark
