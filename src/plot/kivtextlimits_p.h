#ifndef KIVTEXTLIMITS_P_H
#define KIVTEXTLIMITS_P_H

// Bounds on the texts a host hands to the widgets. A title or label of a megabyte would
// otherwise be measured and laid out on every paint and ask for a window wider than the
// window system and the GL driver can allocate.

#include <QFontMetrics>
#include <QString>

namespace kivtext {

// Characters of a text that are measured and drawn; the rest is cut off with an ellipsis.
constexpr int MaxShownChars = 1024;
// Longest extent, in pixels, a label or legend entry asks its layout for.
constexpr int MaxHintPixels = 1024;

inline bool isCut(const QString& text)
{
    return text.size() > MaxShownChars;
}

// The part of `text` that is measured and drawn.
inline QString shown(const QString& text)
{
    return isCut(text) ? text.left(MaxShownChars) + QChar(0x2026) : text;
}

// `text` on one line of at most `pixels`, elided at the right.
inline QString elided(const QFontMetrics& fm, const QString& text, int pixels)
{
    return fm.elidedText(shown(text), Qt::ElideRight, pixels);
}

// Rich text, so that the tool tip wraps instead of growing as wide as the text.
inline QString toolTip(const QString& text)
{
    return QStringLiteral("<p>") + shown(text).toHtmlEscaped() + QStringLiteral("</p>");
}

} // namespace kivtext

#endif // KIVTEXTLIMITS_P_H
