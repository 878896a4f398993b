#pragma once

#include <QRect>
#include <QString>
#include <QStringList>

namespace qm {

// How to ask the capture tool for a picture. Any thread.
namespace CaptureTool {

// Rectangles are pixels of the whole desktop.
struct Request {
    enum class Way {
        region,  // drawn by the user
        window,  // picked by the user
        monitor, // the one under the pointer
        desktop, // all monitors
        area,    // this one, without asking
        scroll,  // a region drawn by the user and scrolled to its end; the work of another tool
    };
    Way way = Way::region;
    QRect area;       // for Way::area
    QRect lastRegion; // offered to be taken again; null if there is none
    QRect rest;       // something of ours was shown there: wait until what lay below has come to rest; may be null
    bool isPatient = false;      // an open menu is to be captured: wait until its program lets go of the keyboard
    bool isForClipboard = false; // the tool may put the picture there, if it alone can
    QString trigger;             // name of the key that starts captures
    QString unsaved;             // where the picture goes if it cannot be written to its path; empty: nowhere
};

// With which the system's tool ends if the user once forbade the desktop to give pictures of the screen; as in qmcapture's
// main.cpp.
constexpr int deniedStatus = 3;

QString text(const QRect &area); // "x,y,w,h"

QStringList arguments(const Request &request, const QString &path);       // of the system's tool; not for Way::scroll
QStringList scrollArguments(const Request &request, const QString &path); // of qmscroll

} // namespace CaptureTool
} // namespace qm
