#pragma once
// Between the export engine and the window. The engine lives on a thread of its own, so a slow
// server never freezes the window or the tray: the window's calls reach it queued, in the
// engine's own terms, and what it reports (its state, status lines, the report of each export)
// comes back as signals on the window's thread. The engine is only ever touched from its own
// thread; one call runs at a time there, so exports never overlap.

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>
#include <functional>
#include <memory>

#include "app/engine/ExportEngine.h"
#include "app/engine/Policy.h"
#include "app/gui/PromptGate.h"

namespace tesselex {
class Settings;
}

namespace tesselex::gui {

class EngineWorker;

// The engine's modal questions, answered on the window's thread (tests answer them directly).
struct Prompts {
    std::function<void(const QString& title, const QString& text)> Message;
    std::function<bool(const QString& question)> AskYesNo;
};

struct ControllerOptions {
    EngineSeams Seams;
    // Creates the settings on the engine's thread; the user's own store when empty.
    std::function<std::unique_ptr<Settings>()> MakeSettings;
    Prompts Ask;
    int PollIntervalMs = 1000;
    QString DisplayConfig;  // the display configuration of the readable record view
    // What the window shows locked: the policy the engine's settings read (none in tests unless
    // given with MakeSettings' own).
    Policy MachinePolicy;
};

class EngineController : public QObject {
    Q_OBJECT

  public:
    explicit EngineController(ControllerOptions options, QObject* parent = nullptr);
    ~EngineController() override;

    // Start-up on the engine's thread (calls before it are dropped), then the poll (unless the
    // workfile is watched elsewhere).
    void Start();
    // "Avsluta": an export under way finishes, the poll stops, then stopped() is emitted.
    void Shutdown();
    // A manual export is asked for and has not ended yet.
    bool Busy() const { return exportsAsked_ > 0; }

    // The engine's state, FTP settings and server address as last reported.
    const EngineState& State() const { return state_; }
    const FtpSettings& Ftp() const { return ftp_; }
    QString ServerAddress() const { return serverAddress_; }
    const Policy& MachinePolicy() const { return policy_; }
    // The exports waiting in the outbox as last reported, oldest first.
    const std::vector<OutboxEntry>& Waiting() const { return waiting_; }

  public slots:
    void SetOption(tesselex::Option option, const tesselex::OptionValue& value);
    void SetBibId(const QString& bibId);
    void Export(const QString& bibId);
    void SetFtp(const tesselex::FtpSettings& ftp);
    void SetServerAddress(const QString& address);
    void SetLogging(tesselex::LogChoice choice);
    void SaveOldSettings();
    // The waiting exports of these bib ids (every one when empty) tried now.
    void RetryWaiting(const QStringList& bibIds);
    // The bib id's waiting export given up.
    void DropWaiting(const QString& bibId);
    // A status line of the engine's own numbering, for what the window has to say.
    void ShowStatus(const QString& message, bool isError);

  signals:
    void stateChanged(const tesselex::EngineState& state);
    void statusLine(const tesselex::StatusLine& line);
    void exported(const tesselex::ExportReport& report);
    void waitingChanged(const std::vector<tesselex::OutboxEntry>& entries);
    void busyChanged(bool busy);
    void started();
    void stopped();

  private:
    friend class EngineWorker;
    void Post(std::function<void(EngineWorker&)> call);
    void TakeState(const EngineState& state);
    void TakeWaiting(std::vector<OutboxEntry> entries);
    void ExportEnded();
    void CallEnded();

    PromptGate gate_;
    QThread thread_;
    EngineWorker* worker_ = nullptr;
    int exportsAsked_ = 0;
    int callsUnderWay_ = 0;
    bool stateHeld_ = false;
    EngineState state_;
    FtpSettings ftp_;
    QString serverAddress_;
    std::vector<OutboxEntry> waiting_;
    Policy policy_;
};

}  // namespace tesselex::gui

Q_DECLARE_METATYPE(tesselex::EngineState)
Q_DECLARE_METATYPE(tesselex::StatusLine)
Q_DECLARE_METATYPE(tesselex::ExportReport)
Q_DECLARE_METATYPE(tesselex::FtpSettings)
Q_DECLARE_METATYPE(tesselex::LogChoice)
Q_DECLARE_METATYPE(tesselex::Option)
Q_DECLARE_METATYPE(tesselex::OptionValue)
