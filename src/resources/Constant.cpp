#include "resources/Constant.h"

namespace quvo {

int ParseDataKind(const QString& tag)
{
    if (tag == QLatin1String("0"))
        return DataKinds::Logging;
    if (tag == QLatin1String("2"))
        return DataKinds::Realtime;
    if (tag == QLatin1String("3"))
        return DataKinds::Monitor;
    if (tag == QLatin1String("4"))
        return DataKinds::Save;
    return DataKinds::Unknown;
}

} // namespace quvo
