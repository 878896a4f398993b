#pragma once

#include "app/Command.h"
#include "capture/CaptureRunner.h"
#include "ui/CaptureCards.h"
#include "ui/Countdown.h"

#include <QMimeData>
#include <QPointer>

#include <memory>

namespace qm {

// Takes captures, of pictures or of the text in them, and does what follows: clipboard, card, or a notification of what
// went wrong. Main thread.
class Captures
{
public:
    // annotate opens a picture in the editor; trayMessage says something where there is no service for notifications.
    Captures(std::function<void(const QString &file)> annotate,
             std::function<void(const QString &title, const QString &text)> trayMessage);
    ~Captures();

    // One of the capture commands; returns at once. menu: where the menu is that it was chosen from, in native pixels of
    // the desktop. If the command comes from a menu and that is null, some other program's on the pointer's monitor.
    void take(const Command &command, const QRect &menu = {});
    bool isCapturing() const;

    // Makes pictures of the scrolling captures that an earlier run was killed in, and tells of them.
    void completeLeft();

    // At quit. Returns false if a capture is still waiting for its user, or for its text, after the limit.
    bool stop(std::chrono::milliseconds limit);

private:
    void begin(Command::Verb verb, CaptureTool::Request request);
    void captureText(const CaptureTool::Request &request);
    void sayWhatWasRead(const CaptureResult &result);
    void captured(const CaptureResult &result);
    void sayWhatWentWrong(const CaptureResult &result);
    void sayItIsDenied(const QString &title, const QString &reason);
    void sayWhereCapturesGo(); // if it is not where the settings say
    void say(const QString &title, const QString &text);
    void copyFile(const QString &file);
    void putOnClipboard(const Pasteboard::Content &content, const QString &file); // nothing without an image
    void moveToTrash(const QString &file); // and off the clipboard, if it is there

    const std::function<void(const QString &, const QString &)> m_trayMessage;
    CaptureCards m_cards;
    std::unique_ptr<Countdown> m_countdown; // to a capture that was asked for with a delay
    CaptureRunner m_runner;
    Command m_latest;                        // of the capture commands
    QString m_fileOnClipboard;               // what was put there last
    QPointer<const QMimeData> m_onClipboard; // and the clipboard's own object for it
};

} // namespace qm
