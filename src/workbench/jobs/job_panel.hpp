// What the window shows of a running job: what it does, how far it is, how long it will take, and a
// button that stops it.
#pragma once

#include <QFrame>
#include <QTimer>

#include "support/texts.hpp"
#include "workbench/jobs/job_runner.hpp"

class QLabel;
class QProgressBar;
class QPushButton;

namespace vellmark {

class JobPanel final : public QFrame {
  public:
    /// `stop` is called when the person wants the job to end.
    JobPanel(JobRunner& jobs, std::function<void()> stop, QWidget* owner);

    void setLanguage(Language language);
    /// Shows or hides itself as a job runs or not; a job that ends soon is not shown.
    void follow();

  private:
    void draw();
    [[nodiscard]] QString words(const JobState& state) const;
    [[nodiscard]] QString restWords(int seconds) const;

    JobRunner& jobs_;
    Language language_ = Language::English;
    QTimer timer_;
    QLabel* text_;
    QLabel* generalCaption_;
    QProgressBar* general_;
    QLabel* singleCaption_;
    QProgressBar* single_;
    QLabel* rest_;
    QPushButton* stop_;
};

}  // namespace vellmark
