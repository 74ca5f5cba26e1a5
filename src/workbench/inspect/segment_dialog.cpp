#include "workbench/inspect/segment_dialog.hpp"

#include <QCheckBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include "inspect/data_segment.hpp"
#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/pc_targets.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/inspect/text_printing.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextOverwrite = 1061;
constexpr int kTextTitle = 3333;
constexpr int kTextThisSector = 3334;
constexpr int kTextSegment = 3335;
constexpr int kTextBegin = 3336;
constexpr int kTextEnd = 3337;
constexpr int kTextHexadecimal = 3338;
constexpr int kTextPrint = 3339;
constexpr int kTextExecute = 3340;
constexpr int kTextFilter = 3341;
constexpr int kTextSave = 3342;
constexpr int kTextSectors = 3343;

/// More would be thousands of sheets.
constexpr std::uint64_t kMostPrinted = 1 << 20;

Reason ProblemOf(SegmentEnd end) {
    switch (end) {
        case SegmentEnd::Stopped:
            return Sentence::kStoppedAsWished;
        case SegmentEnd::ReadFailed:
        case SegmentEnd::OutsideSource:
            return Sentence::kContentsCutShort;
        case SegmentEnd::Done:
        case SegmentEnd::WriteFailed:  // the file knows why
            break;
    }
    return {};
}

class SegmentDialog final : public FormDialog {
  public:
    SegmentDialog(TVellmark& window, const SegmentJob& job, QWidget* owner)
        : FormDialog("segment", window.text(kTextTitle), window.language(), owner),
          window_(window),
          job_(job) {
        setObjectName(QStringLiteral("TSSegm"));
        scopes_[0] = addScope("SecteurCourant", kTextThisSector);
        scopes_[1] = addScope("SuiteSecteurs", kTextSectors);
        scopes_[2] = addScope("SegmentDonnees", kTextSegment);
        begin_ = addField("Debut", kTextBegin, QString());
        end_ = addField("Fin", kTextEnd, QString());
        hexadecimal_ = addBox("SauveHexa", kTextHexadecimal, false);
        print_ = addBox("ImprHexa", kTextPrint, false);
        auto* const run = addButton("Executer", words(kTextExecute), Accepted);
        run->disconnect();
        connect(run, &QPushButton::clicked, this, [this] { check(); });
        run->setDefault(true);
        addButton("Cancel", words(kTextCancel), Rejected);
        connect(print_, &QCheckBox::toggled, this,
                [this](bool prints) { hexadecimal_->setEnabled(!prints); });
        scopes_[0]->setChecked(true);
        fillNumbers();
    }

    [[nodiscard]] DataSegment segment() const { return segment_; }
    [[nodiscard]] bool isHexadecimal() const { return hexadecimal_->isChecked(); }
    [[nodiscard]] bool prints() const { return print_->isChecked(); }

  private:
    QRadioButton* addScope(const char* name, int caption) {
        auto* const scope = new QRadioButton(words(caption), this);
        scope->setObjectName(QLatin1String(name));
        addWide(scope);
        connect(scope, &QRadioButton::toggled, this, [this](bool isOn) {
            if (isOn)
                fillNumbers();
        });
        return scope;
    }

    [[nodiscard]] DataSegment whole() const {
        return SegmentOfSectors(job_.source, job_.sector, job_.sector);
    }

    void fillNumbers() {
        if (!begin_ || !end_)
            return;
        const bool isBytes = scopes_[2]->isChecked();
        const DataSegment page = whole();
        const auto show = [&](QLineEdit& field, std::uint64_t value) {
            field.setText(ToQString(NumberText(value, job_.style.base)));
            field.setEnabled(!scopes_[0]->isChecked());
        };
        show(*begin_, isBytes ? page.begin : job_.sector);
        show(*end_, isBytes ? std::max(page.begin + 1, page.end) - 1
                            : (scopes_[0]->isChecked() ? job_.sector : job_.last));
    }

    // The first and the last one, both included.
    [[nodiscard]] std::optional<DataSegment> typed() const {
        if (scopes_[0]->isChecked())
            return whole();
        const auto first = ParseNumber(begin_->text().trimmed().toStdString(), job_.style.base);
        const auto last = ParseNumber(end_->text().trimmed().toStdString(), job_.style.base);
        if (!first || !last || *first > *last)
            return std::nullopt;
        if (scopes_[1]->isChecked())
            return *last <= job_.last ? std::optional(SegmentOfSectors(job_.source, *first, *last))
                                      : std::nullopt;
        return *last < job_.source.size() ? std::optional(DataSegment{*first, *last + 1})
                                          : std::nullopt;
    }

    void check() {
        const auto wanted = typed();
        if (!wanted) {
            window_.messages().showMessage(Reason(Sentence::kNoSuchSegment));
            return;
        }
        if (prints() && wanted->end - wanted->begin > kMostPrinted) {
            window_.messages().showMessage(Reason(Sentence::kTooMuchToPrint, kMostPrinted));
            return;
        }
        segment_ = *wanted;
        accept();
    }

    TVellmark& window_;
    const SegmentJob& job_;
    QRadioButton* scopes_[3] = {};
    QLineEdit* begin_ = nullptr;
    QLineEdit* end_ = nullptr;
    QCheckBox* hexadecimal_ = nullptr;
    QCheckBox* print_ = nullptr;
    DataSegment segment_;
};

}  // namespace

bool SaveBytesAs(TVellmark& window, const QString& title, const QString& filter,
                 const QString& proposal, QWidget* owner, const RunLook& look,
                 const std::function<Reason(ByteSink& file, Progress& progress)>& fill) {
    const std::string folder =
        KeptFolder(window.state().store, setting::kCopyFolder, ToPath(QDir::homePath()) + "/");
    const QString chosen =
        QFileDialog::getSaveFileName(owner, title, QFile::decodeName(folder.c_str()) + proposal,
                                     filter, nullptr, QFileDialog::DontConfirmOverwrite);
    if (chosen.isEmpty())
        return false;
    const QString extension = QFileInfo(proposal).suffix();
    const bool isBare = QFileInfo(chosen).suffix().isEmpty() && !extension.isEmpty();
    const std::string path = ToPath(isBare ? chosen + u'.' + extension : chosen);
    PcTargets targets(window.documents().path());
    if (const Reason refusal = targets.refusalOf(path)) {
        window.messages().showMessage(refusal);
        return false;
    }
    const bool replaces = PcTargets::exists(path);
    if (replaces && !window.messages().askYesNo(Reason::Told(kTextOverwrite, Printable(path))))
        return false;
    PcWriting writing;
    (void)look([&](Progress& progress) {
        writing = targets.write({path, "", replaces, {}},
                                [&](PcFile& file, PcFile*) { return fill(file, progress); });
    });
    if (writing.problem)
        window.messages().showMessage(
            Reason(Sentence::kNamedReason, Printable(path), writing.problem));
    else if (writing.error != 0)
        window.messages().showMessage(Reason(Sentence::kCannotBeWritten, Printable(path),
                                             Reason(SystemError{writing.error})));
    return !writing.problem && writing.error == 0;
}

void SaveDataSegment(TVellmark& window, const SegmentJob& job, QWidget* owner,
                     const RunLook& look) {
    SegmentDialog dialog(window, job, owner);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const DataSegment segment = dialog.segment();
    if (dialog.prints()) {
        MemoryBytes text;
        SegmentEnd end = SegmentEnd::Stopped;
        (void)look([&](Progress& progress) {
            end = SaveSegmentAsText(job.source, segment, job.style, text, progress);
        });
        if (end == SegmentEnd::Stopped)
            return;
        PrintLines(job.heading,
                   QString::fromUtf8(reinterpret_cast<const char*>(text.bytes().data()),
                                     static_cast<qsizetype>(text.bytes().size()))
                       .split(u'\n'),
                   job.points, owner);
        return;
    }
    (void)SaveBytesAs(
        window, window.text(kTextSave), DialogFilter(Text(kTextFilter, window.language())),
        QString(), owner, look, [&](ByteSink& file, Progress& progress) {
            return ProblemOf(dialog.isHexadecimal()
                                 ? SaveSegmentAsText(job.source, segment, job.style, file, progress)
                                 : SaveSegment(job.source, segment, file, 0, progress));
        });
}

}  // namespace vellmark
