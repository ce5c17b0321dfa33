#include "platform/basics/Utf8Locale.h"

#include <QByteArray>
#include <QtGlobal>

#include <clocale>
#include <cstring>

namespace Tavrel
{

void chooseUtf8Locale()
{
    const char *locale = std::setlocale(LC_CTYPE, ""); // null if it is not installed
    if (locale && std::strcmp(locale, "C") == 0)
        qputenv(qEnvironmentVariableIsEmpty("LC_ALL") ? "LC_CTYPE" : "LC_ALL", "C.UTF-8");
}

} // namespace Tavrel
