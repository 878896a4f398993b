#pragma once

#include "helpers/wayland/desktop/UserBus.h"

#include <QRect>

#include <optional>
#include <string>

namespace qm {

// What one monitor shows, as a stream of PipeWire's, without the pointer: org.freedesktop.portal.ScreenCast. It is the user who
// says which monitor, in a dialog, and may let that be remembered. Ends with this object. One thread, which waits.
class ScreenCast
{
public:
    static bool isOffered(); // of monitors; may start the portal, within 10 s

    ScreenCast();
    ~ScreenCast();
    ScreenCast(const ScreenCast &) = delete;
    ScreenCast &operator=(const ScreenCast &) = delete;

    // Within a minute. With the token of an earlier time nobody is asked, unless the desktop has forgotten. May be called again,
    // which ends what was begun.
    enum class Begun { yes, cancelled, no }; // no: there is no such portal, it refuses, or nobody answers
    Begun begin(const std::string &token);

    uint32_t node() const { return m_node; }                     // of the stream
    std::optional<QPoint> place() const { return m_place; }      // the monitor's corner in the compositor's coordinates
    const std::string &nextToken() const { return m_nextToken; } // empty: the user will be asked again
    bool hasEnded() const;                                       // the user has stopped it
    int openRemote() const; // a connection to PipeWire, the caller's to close; -1 if there is none

private:
    bool createSession();
    bool selectMonitor(const std::string &token);
    Begun start();
    void end();
    void readStream(sd_bus_message *results);

    const UserBus m_bus;
    std::string m_session;
    BusSlot m_listening; // for its end
    bool m_hasEnded = false;
    uint32_t m_node = 0;
    std::optional<QPoint> m_place;
    std::string m_nextToken;
};

} // namespace qm
