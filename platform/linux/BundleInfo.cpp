#include "platform/BundleInfo.h"

namespace qm {

std::optional<QString> BundleInfo::shortVersion()
{
    return QStringLiteral(QM_VERSION);
}

std::optional<QString> BundleInfo::version()
{
    return QStringLiteral(QM_BUILD_NUMBER);
}

} // namespace qm
