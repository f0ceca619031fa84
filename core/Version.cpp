#include "qdcore/Version.h"

int QDVersion() noexcept
{
    return QD_VERSION;
}
