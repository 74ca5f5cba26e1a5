#include "workbench/jobs/job_panel.hpp"

#include <fmt/format.h>

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/item_source.hpp"

namespace vellmark {

namespace {

constexpr int kTextAbort = 1046;
constexpr int kTextWait = 1059;
constexpr int kTextFile = 1391;
constexpr int kTextGeneral = 1392;
constexpr int kTextSingle = 1393;
constexpr int kTextSmallFiles = 1394;
constexpr int kTextTables = 1396;

constexpr int kDrawMs = 50;
// A job that ends before does not make the window jump.
constexpr double kShownAfterSeconds = 0.3;
// Longest name of a file in the text.
constexpr std::size_t kNameCharacters = 65;
constexpr int kSteps = 1000;
// For which the text of the rest has room without moving anything.
constexpr int kLongestRest = 99 * 60 + 59;

void SetBar(QProgressBar& bar, std::uint64_t done, std::uint64_t total) {
    bar.setRange(0, total == 0 ? 0 : kSteps);
    if (total != 0)
        bar.setValue(static_cast<int>(std::min<double>(
            kSteps, static_cast<double>(done) / static_cast<double>(total) * kSteps)));
}

}  // namespace

JobPanel::JobPanel(JobRunner& jobs, std::function<void()> stop, QWidget* owner)
    : QFrame(owner),
      jobs_(jobs),
      text_(new QLabel(this)),
      generalCaption_(new QLabel(this)),
      general_(new QProgressBar(this)),
      singleCaption_(new QLabel(this)),
      single_(new QProgressBar(this)),
      rest_(new QLabel(this)),
      stop_(new QPushButton(this)) {
    setFrameShape(QFrame::StyledPanel);
    setObjectName(QStringLiteral("JobPanel"));
    general_->setObjectName(QStringLiteral("Progression"));
    stop_->setObjectName(QStringLiteral("JobStop"));
    text_->setObjectName(QStringLiteral("JobText"));
    text_->setTextFormat(Qt::PlainText);
    // Neither a long name nor what comes and goes moves the rest of the window.
    text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    for (QWidget* const each :
         {static_cast<QWidget*>(singleCaption_), static_cast<QWidget*>(single_)}) {
        QSizePolicy policy = each->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        each->setSizePolicy(policy);
    }
    rest_->setObjectName(QStringLiteral("JobRest"));
    rest_->setAlignment(Qt::AlignCenter);
    auto* grid = new QGridLayout(this);
    grid->addWidget(text_, 0, 0, 1, 2);
    grid->addWidget(generalCaption_, 1, 0);
    grid->addWidget(general_, 1, 1);
    grid->addWidget(rest_, 0, 2);
    grid->addWidget(singleCaption_, 2, 0);
    grid->addWidget(single_, 2, 1);
    grid->addWidget(stop_, 1, 2);
    grid->setColumnStretch(1, 1);
    connect(stop_, &QPushButton::clicked, this, std::move(stop));
    connect(&timer_, &QTimer::timeout, this, &JobPanel::draw);
    hide();
}

void JobPanel::setLanguage(Language language) {
    language_ = language;
    generalCaption_->setText(Words(kTextGeneral, language));
    singleCaption_->setText(Words(kTextSingle, language));
    stop_->setText(Words(kTextAbort, language));
    rest_->setMinimumWidth(rest_->fontMetrics().horizontalAdvance(restWords(kLongestRest)));
    general_->setAccessibleName(generalCaption_->text());
    single_->setAccessibleName(singleCaption_->text());
}

void JobPanel::follow() {
    if (jobs_.isRunning()) {
        timer_.start(kDrawMs);
        stop_->setEnabled(true);
    } else {
        timer_.stop();
        hide();
    }
}

QString JobPanel::words(const JobState& state) const {
    switch (state.what) {
        case JobState::What::File: {
            const QString name = ToQString(Printable(state.file)).left(kNameCharacters);
            return WordsWith(
                kTextFile, language_, name.toStdString(),
                SizeWords(state.fileBytes, language_ == Language::French).toStdString());
        }
        case JobState::What::SmallFiles:
            return Words(kTextSmallFiles, language_).trimmed();
        case JobState::What::Tables:
            return Words(kTextTables, language_).trimmed();
        case JobState::What::Status:
            break;
    }
    return state.status.empty() ? Words(kTextWait, language_) : ToQString(state.status).trimmed();
}

QString JobPanel::restWords(int seconds) const {
    return Words(Reason(Sentence::kTimeLeft, fmt::format("{}:{:02}", seconds / 60, seconds % 60)),
                 language_);
}

void JobPanel::draw() {
    const JobProgress* const job = jobs_.progress();
    // While a question of the job stands there is nothing to wait for.
    if (!job || (isHidden() && (job->seconds() < kShownAfterSeconds ||
                                QApplication::activeModalWidget() != nullptr)))
        return;
    const JobState state = job->state();
    text_->setText(words(state));
    SetBar(*general_, state.doneBytes, state.totalBytes);
    const bool hasChunks = state.what == JobState::What::File && state.chunks > 0;
    singleCaption_->setVisible(hasChunks);
    single_->setVisible(hasChunks);
    if (hasChunks)
        SetBar(*single_, static_cast<std::uint64_t>(state.chunksDone),
               static_cast<std::uint64_t>(state.chunks));
    const auto rest = RestSeconds(state, job->seconds());
    rest_->setText(rest ? restWords(*rest) : QString());
    stop_->setEnabled(!job->isStopped());
    show();
}

}  // namespace vellmark
