// The Secret Service (GNOME Keyring, KWallet, KeePassXC and the like) through QtKeychain
// (Debian's qtkeychain-qt6), which speaks to it through libsecret or D-Bus. Each secret is one
// item whose label is its name: QtKeychain's service and key are both the name, so
// `secret-tool lookup server NAME` prints it and the desktop's password manager lists it under
// that name. QtKeychain's own fall-back to a plain settings file is never used: where no store
// answers, the program says so and keeps the password in its own settings (FtpPassword.h).
//
// QtKeychain's jobs are asynchronous. Each runs to its end in the event loop of one thread of
// the store's own, while the caller waits for it, at most the time limit. The caller's thread
// runs no event loop meanwhile: a local loop on the window's engine thread would run that
// thread's other work (its poll timer, the window's queued calls) inside the engine's start-up.
// A request the service never answers is left behind on that thread; until it ends, the
// store's later requests fail at once (QtKeychain runs its jobs one after another, so they
// would only queue behind it).

#include <qt6keychain/keychain.h>
#include <QCoreApplication>
#include <QThread>

#include <clocale>
#include <future>
#include <memory>
#include <mutex>
#include <string>

#include "app/engine/CredentialStore.h"
#include "app/engine/QtText.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

// An event loop needs an application object. The window has one; tesselex-cli and the test
// programs get one, kept for the rest of the run. Its constructor sets the C library's locale
// from the environment, which is put back as it was.
void EnsureApplication() {
    if (QCoreApplication::instance() != nullptr) {
        return;
    }
    static int argc = 1;
    static char name[] = "tesselex";
    static char* argv[] = {name, nullptr};
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    static QCoreApplication* const application = new QCoreApplication(argc, argv);
    (void)application;
    std::setlocale(LC_ALL, locale.c_str());
}

// The thread whose event loop runs the jobs, started at the first request and never ended: a
// job the service never answers may hold it. Its context object receives the requests.
QObject& JobThread() {
    static QThread* const thread = [] {
        EnsureApplication();
        auto* started = new QThread;
        started->setObjectName(QStringLiteral("TESSELEX credential store"));
        started->start();
        return started;
    }();
    static QObject* const context = [] {
        auto* object = new QObject;
        object->moveToThread(thread);
        return object;
    }();
    return *context;
}

// How a job ended.
struct JobEnd {
    QKeychain::Error Error = QKeychain::NoError;
    QString Reason;
    QString Text;  // a read job's secret
};

enum class Request { Read, Write, Remove };

std::u16string Seconds(std::chrono::milliseconds limit) {
    const auto tenths = (limit.count() + 50) / 100;
    std::u16string text = FromAscii(std::to_string(tenths / 10));
    if (tenths % 10 != 0) {
        text += u'.';
        text += FromAscii(std::to_string(tenths % 10));
    }
    text += u" s";
    return text;
}

// Starts one job on the store's thread; its end comes through the future.
std::shared_future<JobEnd> Start(Request request, std::u16string_view name,
                                 std::u16string_view secret) {
    auto promise = std::make_shared<std::promise<JobEnd>>();
    std::shared_future<JobEnd> end = promise->get_future().share();
    QMetaObject::invokeMethod(
        &JobThread(),
        [request, promise, key = ToQString(name), text = ToQString(secret)] {
            QKeychain::Job* job = nullptr;
            switch (request) {
                case Request::Read:
                    job = new QKeychain::ReadPasswordJob(key);
                    break;
                case Request::Write: {
                    auto* write = new QKeychain::WritePasswordJob(key);
                    write->setTextData(text);
                    job = write;
                    break;
                }
                case Request::Remove:
                    job = new QKeychain::DeletePasswordJob(key);
                    break;
            }
            job->setKey(key);
            job->setInsecureFallback(false);
            job->setAutoDelete(true);
            QObject::connect(job, &QKeychain::Job::finished, [promise](QKeychain::Job* done) {
                JobEnd ended{done->error(), done->errorString(), QString()};
                if (auto* read = qobject_cast<QKeychain::ReadPasswordJob*>(done)) {
                    ended.Text = read->textData();
                }
                promise->set_value(std::move(ended));
            });
            job->start();
        },
        Qt::QueuedConnection);
    return end;
}

// A job's error as a fault, in QtKeychain's (English) words: access refused by the user or the
// service, or no store to speak to (no D-Bus session, no Secret Service, a locked or missing
// collection).
Fault FaultOf(const JobEnd& end) {
    const bool denied =
        end.Error == QKeychain::AccessDenied || end.Error == QKeychain::AccessDeniedByUser;
    std::u16string reason = ToText(end.Reason);
    if (reason.empty()) {
        reason = u"the Secret Service failed (QtKeychain error " +
                 FromAscii(std::to_string(static_cast<int>(end.Error))) + u")";
    }
    return Fault{denied ? FaultKind::Refused : FaultKind::NoConnection, std::move(reason),
                 static_cast<int>(end.Error)};
}

class KeychainStore final : public CredentialStore {
  public:
    explicit KeychainStore(std::chrono::milliseconds limit) : limit_(limit) {}

    Outcome<std::optional<std::u16string>> Read(std::u16string_view name) override {
        const Outcome<JobEnd> end = Run(Request::Read, name, {});
        if (!end) {
            return end.Failure();
        }
        if (end.Value().Error == QKeychain::EntryNotFound) {
            return std::optional<std::u16string>();
        }
        if (end.Value().Error != QKeychain::NoError) {
            return FaultOf(end.Value());
        }
        return std::optional<std::u16string>(ToText(end.Value().Text));
    }

    Done Write(std::u16string_view name, std::u16string_view secret) override {
        return Ended(Run(Request::Write, name, secret), false);
    }

    Done Remove(std::u16string_view name) override {
        return Ended(Run(Request::Remove, name, {}), true);
    }

  private:
    // Runs one job and waits for its end, at most the time limit. A job left waiting keeps
    // later ones from starting: until it ends they fail at once.
    Outcome<JobEnd> Run(Request request, std::u16string_view name, std::u16string_view secret) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stuck_.valid() &&
            stuck_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            return Fault{FaultKind::TimedOut,
                         u"the Secret Service has not answered an earlier request (it did not "
                         u"answer within " +
                             Seconds(limit_) + u")",
                         0};
        }
        stuck_ = {};
        const std::shared_future<JobEnd> end = Start(request, name, secret);
        if (end.wait_for(limit_) != std::future_status::ready) {
            stuck_ = end;
            return Fault{FaultKind::TimedOut,
                         u"the Secret Service did not answer within " + Seconds(limit_), 0};
        }
        return end.get();
    }

    static Done Ended(const Outcome<JobEnd>& end, bool missingIsDone) {
        if (!end) {
            return end.Failure();
        }
        const QKeychain::Error error = end.Value().Error;
        if (error == QKeychain::NoError || (missingIsDone && error == QKeychain::EntryNotFound)) {
            return {};
        }
        return FaultOf(end.Value());
    }

    std::chrono::milliseconds limit_;
    std::mutex mutex_;
    std::shared_future<JobEnd> stuck_;  // a request that did not end within the limit
};

}  // namespace

std::shared_ptr<CredentialStore> SystemCredentialStore(std::chrono::milliseconds limit) {
    return std::make_shared<KeychainStore>(limit);
}

}  // namespace tesselex
