#include "kivlabel.h"
#include "kivtextlimits_p.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextOption>
#include <QToolTip>
#include <QTransform>

class KivLabelPrivate
{
public:
    KivLabel::TextTilt tilt = KivLabel::TiltNone;
};

KivLabel::KivLabel(QWidget* parent, Qt::WindowFlags flags)
    : QLabel(parent, flags)
    , d(new KivLabelPrivate)
{
}

KivLabel::KivLabel(const QString& text, QWidget* parent, Qt::WindowFlags flags)
    : QLabel(text, parent, flags)
    , d(new KivLabelPrivate)
{
}

KivLabel::~KivLabel() = default;

void KivLabel::setTextTilt(TextTilt tilt)
{
    d->tilt = tilt;
}

KivLabel::TextTilt KivLabel::textTilt() const
{
    return d->tilt;
}

bool KivLabel::isQuarterTurn() const
{
    return d->tilt == Tilt90 || d->tilt == Tilt270;
}

// Starts from the base sizeHint() on purpose: the label should get room for its whole text,
// up to a bound; a longer text is elided when painted.
QSize KivLabel::minimumSizeHint() const
{
    QSize hint;
    if (kivtext::isCut(text())) {
        const QMargins m = contentsMargins();
        hint = fontMetrics().size(Qt::TextExpandTabs, kivtext::shown(text()))
            + QSize(m.left() + m.right(), m.top() + m.bottom());
    } else {
        hint = QLabel::sizeHint();
    }
    hint = hint.boundedTo(QSize(kivtext::MaxHintPixels, kivtext::MaxHintPixels));
    return isQuarterTurn() ? hint.transposed() : hint;
}

QSize KivLabel::sizeHint() const
{
    return minimumSizeHint();
}

// The painter's origin is moved to the widget's centre so the rotation turns the text about
// it; for a quarter turn the text rectangle is laid out transposed so that after rotating it
// covers the widget again.
void KivLabel::paintEvent(QPaintEvent*)
{
    const int w = width() - 1;
    const int h = height() - 1;
    const int hw = w / 2;
    const int hh = h / 2;

    QTransform transform;
    transform.rotate(d->tilt, Qt::ZAxis);

    const QRect textRect = isQuarterTurn() ? QRect(-hh, -hw, height(), width())
                                           : QRect(-hw, -hh, width(), height());

    QPainter painter(this);
    painter.setWindow(QRect(QPoint(-hw, -hh), QPoint(w - hw, h - hh)));
    painter.save();
    painter.setTransform(transform);
    painter.drawText(QRectF(textRect), paintedText(textRect.width()), QTextOption(alignment()));
    painter.restore();
}

// One line is elided to the room it has; several lines are only cut to the shown length.
QString KivLabel::paintedText(int room) const
{
    const QString t = text();
    if (t.contains(QLatin1Char('\n')))
        return kivtext::shown(t);
    return kivtext::elided(fontMetrics(), t, room);
}

bool KivLabel::event(QEvent* e)
{
    // A text that does not fit is shown whole in the tool tip, unless the host set one.
    if (e->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        const int room = isQuarterTurn() ? height() : width();
        if (paintedText(room) != text()) {
            QToolTip::showText(static_cast<QHelpEvent*>(e)->globalPos(), kivtext::toolTip(text()), this);
            return true;
        }
    }
    return QLabel::event(e);
}
