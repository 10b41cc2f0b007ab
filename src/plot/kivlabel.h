#ifndef KIVLABEL_H
#define KIVLABEL_H

#include "kiv_global.h"

#include <QLabel>

#include <memory>

class KivLabelPrivate;

/*!
 * \brief A QLabel that can draw its plain text rotated, used for the vertical y-axis label.
 *
 * Only the text is painted; frame, margins, indent, rich text and pixmaps are not drawn.
 */
class KIV_EXPORT KivLabel : public QLabel
{
    Q_OBJECT

public:
    //! Rotation of the text, in degrees clockwise.
    enum TextTilt {
        TiltNone = 0,  //!< plain, left to right
        Tilt90 = 90,   //!< vertical, reads top to bottom
        Tilt180 = 180, //!< upside down
        Tilt270 = 270  //!< vertical, reads bottom to top
    };
    Q_ENUM(TextTilt)

    explicit KivLabel(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    explicit KivLabel(const QString& text, QWidget* parent = nullptr,
                      Qt::WindowFlags flags = Qt::WindowFlags());
    ~KivLabel() override;

    //! Stores the tilt; the caller requests a repaint if the label is already shown.
    void setTextTilt(TextTilt tilt);
    TextTilt textTilt() const;

    //! The plain label's size hint, with width and height exchanged for a quarter turn, at
    //! most 1024 pixels each way: a longer text is elided and shown whole in the tool tip.
    QSize minimumSizeHint() const override;
    //! Same as minimumSizeHint(), so a tilted label is never squeezed below its text.
    QSize sizeHint() const override;

protected:
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isQuarterTurn() const;
    QString paintedText(int room) const;

    std::unique_ptr<KivLabelPrivate> const d;
};

#endif // KIVLABEL_H
