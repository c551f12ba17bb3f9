#pragma once
// Between the export engine and the window. The engine lives on a thread of its own, so a slow
// server never freezes the window or the tray: widget events reach it as queued calls, and what
// it reports (a control that changed, a status line, the records of an export) comes back as
// signals on the window's thread. The engine is only ever touched from its own thread; one
// event runs at a time there, so exports never overlap.

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>
#include <functional>
#include <memory>

#include "app/engine/ExportEngine.h"
#include "config/MessageSink.h"

namespace tesselex {
class Settings;
}

namespace tesselex::gui {

class EngineWorker;

// A change of one control, as the window applies it.
struct FormUpdate {
    QString Control;
    FormAspect Aspect = FormAspect::Text;
    QString Text;
    int Number = 0;
};

// One row of the record grid: tag, indicator 1, indicator 2, value.
using GridRows = QList<QStringList>;

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
};

class EngineController : public QObject {
    Q_OBJECT

  public:
    explicit EngineController(ControllerOptions options, QObject* parent = nullptr);
    ~EngineController() override;

    // Start-up on the engine's thread (events before it are dropped), then the poll (unless the
    // workfile is watched elsewhere).
    void Start();
    // Finishes what runs (an export is never cut off), stops polling, then emits stopped().
    void Shutdown();
    bool Busy() const { return manualFetches_ > 0 || !timerEnabled_; }

    // Widget events. The control is named as on the form ("TxtDest", "Chk035", "cmbHold").
    void TextEdited(const QString& control, const QString& text);
    void CheckClicked(const QString& control, bool checked);
    void ComboActivated(const QString& control, int index);
    void FetchClicked();
    void MenuClicked(const QString& item);  // "ArkivLoggaAllt", "ArkivLoggaFel"
    void SubjectsChosen(const QString& text);
    void FtpChosen(const QStringList& values);  // server, user, password, directory, file name
    void ServerAddressChosen(const QString& address);
    void SaveOldSettings();
    // A status line of the engine's own numbering, for what the window has to say.
    void ShowStatus(const QString& message, bool isError);

    // The dialogs' current values, as the engine last reported them.
    QStringList FtpValues() const { return ftpValues_; }
    QString ServerAddress() const { return serverAddress_; }

  signals:
    void formChanged(const tesselex::gui::FormUpdate& update);
    void recordsChanged(const tesselex::gui::GridRows& rows, const QString& html);
    void statusLine(const QString& line, const QString& message, bool isError);
    void busyChanged(bool busy);
    void started();
    void stopped();

  private:
    friend class EngineWorker;
    void Post(std::function<void(EngineWorker&)> call);
    void Apply(const FormUpdate& update);
    void SetManualFetch(int delta);

    MessageSink previousSink_;
    QThread thread_;
    EngineWorker* worker_ = nullptr;
    Prompts ask_;
    int manualFetches_ = 0;
    bool timerEnabled_ = true;
    QStringList ftpValues_;
    QString serverAddress_;
};

}  // namespace tesselex::gui
