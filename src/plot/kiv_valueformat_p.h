#ifndef KIV_VALUEFORMAT_P_H
#define KIV_VALUEFORMAT_P_H

// Checks of host-given printf formats before they reach QString::asprintf. Internal.

namespace kiv {

// Largest field width and precision a value format may ask for.
constexpr int MaxFormatWidth = 100;
constexpr int MaxFormatPrecision = 100;

// Whether `format` consumes exactly one double: literal text and "%%" around one conversion
// out of f F e E g G a A, with flags from "-+ #0", a width and a precision (no '*', each at most
// the bounds above) and an optional 'l'. Anything else could read arguments that are not there.
bool isValueFormat(const char* format);

} // namespace kiv

#endif // KIV_VALUEFORMAT_P_H
