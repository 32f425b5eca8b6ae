#pragma once

/// Visibility of a library's documented interface. Everything is built hidden; a class, a function
/// or a variable that another library may name carries KOB_EXPORT. One macro serves the three
/// libraries, because on ELF the same attribute exports and imports.
#define KOB_EXPORT __attribute__((visibility("default")))
