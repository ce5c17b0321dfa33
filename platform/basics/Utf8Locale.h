#pragma once

namespace Tavrel
{

/// Sets the environment's locale to C.UTF-8 where it sets none, or plain "C". Qt would choose UTF-8
/// there as well, but with four lines on the standard error. To be called before the application
/// object is made.
void chooseUtf8Locale();

} // namespace Tavrel
