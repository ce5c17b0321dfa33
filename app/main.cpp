#include "app/Initial.h"
#include "app/Version.h"

/// The version block of the executable, as `readelf -p .tavrel.version` shows it.
extern "C" __attribute__((used, section(".tavrel.version"))) const char TavrelVersionBlock[] =
    "FileVersion " TAVREL_VERSION_NUMBERS " (" TAVREL_VERSION_TEXT ")\0"
    "ProductVersion " TAVREL_VERSION_NUMBERS " (" TAVREL_VERSION_TEXT ")";

int main(int argc, char *argv[])
{
    return Tavrel::Initial::Main(argc, argv);
}
