// One piece of work at a time in a thread of its own, with its progress and a button that cancels it.
#ifndef EXAMPLES_EDITOR_JOB_BAR_H
#define EXAMPLES_EDITOR_JOB_BAR_H

#include <QtConcurrentRun>
#include <QtWidgets>
#include <new>

#include "Picture.h"

class JobBar : public QWidget {
public:
    JobBar() {
        auto* cancel = new QPushButton("Cancel");
        auto* row = new QHBoxLayout(this);
        row->addWidget(bar_);
        row->addWidget(cancel);
        connect(cancel, &QPushButton::clicked, &watcher_, &QFutureWatcherBase::cancel);
        connect(&watcher_, &QFutureWatcherBase::progressValueChanged, bar_, &QProgressBar::setValue);
        hide();
    }
    ~JobBar() override {
        watcher_.disconnect();
        watcher_.cancel();
        watcher_.waitForFinished();
    }
    bool isRunning() const { return !isHidden(); }

    // Runs `work` in a thread, then `done` in this one.
    void start(const QString& title, const Work& work, const Done& done) {
        bar_->reset();
        bar_->setFormat(title + " %p%");
        show();
        const auto outcome = std::make_shared<Outcome>();
        outcome->code = DIB_ERROR_INTERRUPTED;  // stays where the button is faster than the thread
        const auto run = [work, outcome](QPromise<void>& promise) {
            promise.setProgressRange(0, 100);
            try {  // the library throws nothing; Qt and the standard library may
                *outcome = work({report, &promise});
            } catch (const std::bad_alloc&) {
                outcome->code = DIB_ERROR_MEMORY;
                outcome->reason = "memory is short";
            }
        };
        const auto finish = [this, done, outcome] {
            hide();
            done(*outcome);
        };
        connect(&watcher_, &QFutureWatcherBase::finished, this, finish, Qt::SingleShotConnection);
        watcher_.setFuture(QtConcurrent::run(run));
    }

private:
    // In the thread of the work: a promise may be used from any thread.
    static bool report(float fraction, void* user) {
        auto* promise = static_cast<QPromise<void>*>(user);
        promise->setProgressValue(static_cast<int>(100 * fraction));
        return !promise->isCanceled();
    }

    QProgressBar* bar_ = new QProgressBar;
    QFutureWatcher<void> watcher_;
};

#endif
