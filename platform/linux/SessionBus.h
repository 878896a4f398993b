#pragma once

#include <QDBusMessage>
#include <QVariantList>

#include <functional>

namespace qm::SessionBus {

// Calls a method of a service of the user's session whose interface bears the service's name. answered gets the reply on
// this thread: of another type than ReplyMessage if there is no bus, nobody serves it, or 5 s have passed; a service that
// has to be started first takes a while.
void ask(const QString &service, const QString &object, const QString &method, const QVariantList &arguments,
         const std::function<void(const QDBusMessage &answer)> &answered);

} // namespace qm::SessionBus
