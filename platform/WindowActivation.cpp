#include "platform/WindowActivation.h"

namespace qm {

static constexpr char variable[] = "XDG_ACTIVATION_TOKEN"; // Qt looks for it there, and takes it

QString WindowActivation::takeOwn()
{
    const QString token = qEnvironmentVariable(variable);
    qunsetenv(variable);
    return token;
}

WindowActivation::WindowActivation(const QString &token)
{
    if (!token.isEmpty())
        qputenv(variable, token.toUtf8());
}

WindowActivation::~WindowActivation()
{
    qunsetenv(variable);
}

} // namespace qm
