#include "kivlabel.h"

#include <QPainter>
#include <QTextOption>
#include <QTransform>

KivLabel::KivLabel(QWidget* parent, Qt::WindowFlags flags)
    : QLabel(parent, flags)
{
}

KivLabel::KivLabel(const QString& text, QWidget* parent, Qt::WindowFlags flags)
    : QLabel(text, parent, flags)
{
}

void KivLabel::setTextTilt(TextTilt tilt)
{
    m_tilt = tilt;
}

KivLabel::TextTilt KivLabel::textTilt() const
{
    return m_tilt;
}

bool KivLabel::isQuarterTurn() const
{
    return m_tilt == Tilt90 || m_tilt == Tilt270;
}

// Starts from the base sizeHint() on purpose: the label should get room for its whole text.
QSize KivLabel::minimumSizeHint() const
{
    const QSize hint = QLabel::sizeHint();
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
    transform.rotate(m_tilt, Qt::ZAxis);

    const QRect textRect = isQuarterTurn() ? QRect(-hh, -hw, height(), width())
                                           : QRect(-hw, -hh, width(), height());

    QPainter painter(this);
    painter.setWindow(QRect(QPoint(-hw, -hh), QPoint(w - hw, h - hh)));
    painter.save();
    painter.setTransform(transform);
    painter.drawText(QRectF(textRect), text(), QTextOption(alignment()));
    painter.restore();
}
