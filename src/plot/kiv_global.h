#ifndef KIV_GLOBAL_H
#define KIV_GLOBAL_H

// KIV_EXPORT marks the classes and functions that libkiv exports; everything else is hidden.
#if defined(KIV_BUILD_LIBRARY)
#  define KIV_EXPORT __attribute__((visibility("default")))
#else
#  define KIV_EXPORT
#endif

#endif // KIV_GLOBAL_H
