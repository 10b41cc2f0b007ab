#ifndef GUIHELPER_GLOBAL_H
#define GUIHELPER_GLOBAL_H

// GUIHELPER_EXPORT marks what libguihelper exports; everything else is hidden.
#if defined(GUIHELPER_BUILD_LIBRARY)
#  define GUIHELPER_EXPORT __attribute__((visibility("default")))
#else
#  define GUIHELPER_EXPORT
#endif

#endif // GUIHELPER_GLOBAL_H
