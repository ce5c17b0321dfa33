#pragma once

namespace Tavrel
{

/// Sets the locale in the environment to C.UTF-8 if none is set, or plain "C". Qt would choose
/// UTF-8 as well, but print four lines on standard error. Call it before creating the application
/// object.
void chooseUtf8Locale();

} // namespace Tavrel
