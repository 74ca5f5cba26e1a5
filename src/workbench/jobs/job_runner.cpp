#include "workbench/jobs/job_runner.hpp"

#include <QEventLoop>
#include <QThread>
#include <exception>

namespace vellmark {

void JobRunner::stop() {
    if (progress_)
        progress_->stop();
}

bool JobRunner::run(JobKind kind, const std::function<void(Progress& progress)>& work) {
    if (isRunning())
        return false;
    progress_ = std::make_unique<JobProgress>(journal_);
    kind_ = kind;
    changed_();
    std::exception_ptr problem;
    QEventLoop untilEnd;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        try {
            work(*progress_);
        } catch (...) {
            problem = std::current_exception();
        }
    }));
    QObject::connect(thread.get(), &QThread::finished, &untilEnd, &QEventLoop::quit);
    thread->start();
    untilEnd.exec();
    thread->wait();
    progress_.reset();
    changed_();
    if (problem)
        std::rethrow_exception(problem);
    return true;
}

}  // namespace vellmark
