#include "workbench/signatures/signature_change.hpp"

#include <QLineEdit>
#include <QPushButton>
#include <array>
#include <limits>
#include <optional>

#include "containers/signatures.hpp"
#include "containers/typed_signature.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_search.hpp"
#include "volume/path_changes.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/jobs/main_thread.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextQuestion = 1195;
constexpr int kTextCreator = 1210;
constexpr int kTextType = 1211;
constexpr int kTextTitle = 1250;
constexpr int kTextChange = 1251;
constexpr int kTextIgnore = 1252;
constexpr int kTextChangeAll = 1253;
constexpr int kTextIgnoreAll = 1254;
constexpr int kTextOld = 1255;
constexpr int kTextNotFound = 1429;

constexpr int kCodeCharacters = 4;
constexpr int kChange = 2;
constexpr int kChangeAll = 3;
constexpr int kIgnoreAll = 4;

using Code = std::array<char, 4>;

struct Wanted {
    Answer answer = Answer::No;
    std::optional<Code> type;
    std::optional<Code> creator;
};

class SignatureChangeDialog final : public FormDialog {
  public:
    SignatureChangeDialog(TVellmark& window, const std::string& signature, const std::string& name)
        : FormDialog("replacesignature", window.text(kTextTitle), window.language(), &window) {
        addNote(Words(Reason::Told(kTextQuestion, signature, name), language()));
        addFact(kTextOld, ToQString(signature));
        type_ = addField("NouvType", kTextType, {}, kCodeCharacters);
        creator_ = addField("NouvCreat", kTextCreator, {}, kCodeCharacters);
        addButton("Changer", words(kTextChange), kChange)->setDefault(true);
        addButton("ChangerTout", words(kTextChangeAll), kChangeAll);
        addButton("Ignorer", words(kTextIgnore), Rejected);
        addButton("IgnorerTout", words(kTextIgnoreAll), kIgnoreAll);
    }

    // What the person wants, once it can be had.
    [[nodiscard]] Wanted ask(WindowMessages& messages) {
        while (true) {
            const int result = exec();
            if (result == Rejected)
                return {};
            if (result == kIgnoreAll)
                return {Answer::NoToAll, {}, {}};
            Wanted wanted{result == kChangeAll ? Answer::YesToAll : Answer::Yes,
                          TypedCode(type_->text().toStdString()),
                          TypedCode(creator_->text().toStdString())};
            if (wanted.type && wanted.creator)
                return wanted;
            const QLineEdit& wrong = wanted.type ? *creator_ : *type_;
            messages.showMessage(Reason(Sentence::kNoCode, wrong.accessibleName().toStdString(),
                                        wrong.text().toStdString()));
        }
    }

  private:
    QLineEdit* type_;
    QLineEdit* creator_;
};

void ChangeEach(TVellmark& window, WritableVolume& volume, const std::vector<SearchHit>& hits,
                const std::string& signature, Progress& progress) {
    Wanted wanted;
    for (const SearchHit& hit : hits) {
        if (!progress.mayGoOn())
            return;
        if (wanted.answer != Answer::YesToAll)
            wanted = InMainThread([&] {
                return SignatureChangeDialog(window, signature,
                                             Printable(ShownName(volume, hit.name)))
                    .ask(window.messages());
            });
        if (wanted.answer == Answer::NoToAll)
            return;
        if (wanted.answer == Answer::No)
            continue;
        AttributeChange change;
        change.type = wanted.type;
        change.creator = wanted.creator;
        const PathChange done =
            ChangeAttributesAt(volume, PathOf(volume, hit), change, window.context().clock);
        if (done.problem)
            window.messages().showMessage(done.problem);
        if (done.result == EditResult::Stopped)
            return;
    }
}

}  // namespace

void ChangeGenericSignatures(TVellmark& window) {
    PartitionDocument& document = *window.documents().partition;
    WritableVolume* const volume = document.writable();
    if (!volume)
        return window.messages().showMessage(document.readOnlyReason());
    const std::string signature(SignatureTable().rows().front().signature);
    window.runJob(JobKind::Work, [&](Progress& progress) {
        std::vector<SearchHit> hits;
        const TreeResult result =
            FindBySignature(*volume, signature, hits, std::numeric_limits<std::size_t>::max());
        if (const Reason problem = CatalogProblem(result, Sentence::kPlaceOfAllFiles))
            window.messages().showMessage(problem);
        else if (hits.empty())
            window.messages().showMessage(Reason::Told(kTextNotFound, signature));
        ChangeEach(window, *volume, hits, signature, progress);
        (void)document.save(window.context().clock, window.messages());
    });
}

}  // namespace vellmark
