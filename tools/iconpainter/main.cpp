// Paints the 16-pixel tool bar icons of libkiv as PNG files.
//
// Usage: iconpainter <output directory> [contact sheet file]
// The optional contact sheet shows every icon eight times enlarged, for checking by eye.

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

const QColor Ink(0x2b, 0x36, 0x45);
const QColor Blue(0x1f, 0x74, 0xd1);
const QColor LightBlue(0xcf, 0xe4, 0xfa);
const QColor Red(0xd2, 0x32, 0x2d);
const QColor Green(0x2e, 0x9a, 0x44);
const QColor Orange(0xe8, 0x8a, 0x1a);
const QColor Paper(0xfb, 0xfb, 0xfb);

QPen pen(const QColor& color, double width)
{
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

// An arrow head at tip pointing along (dx, dy).
void arrowHead(QPainter& p, QPointF tip, double dx, double dy, double size, const QColor& color)
{
    const double len = std::hypot(dx, dy);
    dx /= len;
    dy /= len;
    const QPointF back = tip - QPointF(dx, dy) * size;
    const QPointF side(-dy * size * 0.75, dx * size * 0.75);
    QPainterPath path;
    path.moveTo(tip);
    path.lineTo(back + side);
    path.lineTo(back - side);
    path.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawPath(path);
}

void arrow(QPainter& p, QPointF from, QPointF to, const QColor& color, double width = 1.5)
{
    const QPointF d = to - from;
    const double len = std::hypot(d.x(), d.y());
    const QPointF shaftEnd = to - d / len * 2.5;
    p.setPen(pen(color, width));
    p.drawLine(from, shaftEnd);
    arrowHead(p, to, d.x(), d.y(), 3.5, color);
}

// A small waveform across the given box, used by the sample and fit icons.
QPainterPath wave(const QRectF& box)
{
    QPainterPath path;
    const int steps = 24;
    for (int i = 0; i <= steps; ++i) {
        const double t = double(i) / steps;
        const double x = box.left() + t * box.width();
        const double y = box.center().y() - 0.5 * box.height() * std::sin(t * 2.0 * M_PI);
        if (i == 0)
            path.moveTo(x, y);
        else
            path.lineTo(x, y);
    }
    return path;
}

void window(QPainter& p, const QRectF& r)
{
    p.setPen(pen(Ink, 1.0));
    p.setBrush(Paper);
    p.drawRect(r);
    p.setPen(Qt::NoPen);
    p.setBrush(Blue);
    p.drawRect(QRectF(r.left() + 0.5, r.top() + 0.5, r.width() - 0.5, 2.0));
}

void paintZoom(QPainter& p)
{
    p.setPen(pen(Ink, 2.6));
    p.drawLine(QPointF(10.0, 10.0), QPointF(14.2, 14.2));
    p.setPen(pen(Ink, 1.5));
    p.setBrush(LightBlue);
    p.drawEllipse(QPointF(6.5, 6.5), 4.6, 4.6);
    p.setPen(pen(Blue, 1.3));
    p.drawLine(QPointF(4.5, 6.5), QPointF(8.5, 6.5));
    p.drawLine(QPointF(6.5, 4.5), QPointF(6.5, 8.5));
}

void paintPan(QPainter& p)
{
    const QPointF c(8.0, 8.0);
    arrow(p, c, QPointF(8.0, 0.8), Ink);
    arrow(p, c, QPointF(8.0, 15.2), Ink);
    arrow(p, c, QPointF(0.8, 8.0), Ink);
    arrow(p, c, QPointF(15.2, 8.0), Ink);
    p.setPen(Qt::NoPen);
    p.setBrush(Blue);
    p.drawEllipse(c, 1.8, 1.8);
}

void paintLegend(QPainter& p)
{
    p.setPen(pen(Ink, 1.0));
    p.setBrush(Paper);
    p.drawRoundedRect(QRectF(0.5, 1.5, 15.0, 13.0), 1.5, 1.5);
    const QColor colors[] = {Blue, Red, Green};
    for (int i = 0; i < 3; ++i) {
        const double y = 3.5 + i * 3.6;
        p.setPen(Qt::NoPen);
        p.setBrush(colors[i]);
        p.drawRect(QRectF(2.5, y, 3.0, 2.6));
        p.setPen(pen(Ink, 1.2));
        p.drawLine(QPointF(7.5, y + 1.3), QPointF(13.0, y + 1.3));
    }
}

void paintMeasure(QPainter& p)
{
    // A curve with a cursor line and the read-out marker where they meet.
    p.setRenderHint(QPainter::Antialiasing, false);
    p.setPen(QPen(Ink, 1.0, Qt::DotLine));
    p.drawLine(QPoint(9, 1), QPoint(9, 15));
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(pen(Blue, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawPath(wave(QRectF(1.0, 4.0, 14.0, 8.0)));
    const double t = (9.5 - 1.0) / 14.0;
    const double y = 8.0 - 4.0 * std::sin(t * 2.0 * M_PI);
    p.setPen(pen(Red, 1.4));
    p.setBrush(Paper);
    p.drawEllipse(QPointF(9.5, y), 2.2, 2.2);
}

void paintFreeze(QPainter& p)
{
    const QPointF c(8.0, 8.0);
    p.setPen(pen(Blue, 1.4));
    for (int i = 0; i < 6; ++i) {
        const double a = i * M_PI / 3.0 + M_PI / 2.0;
        const QPointF dir(std::cos(a), -std::sin(a));
        const QPointF tip = c + dir * 7.0;
        p.drawLine(c, tip);
        // Two short branches near the tip of each spoke.
        const QPointF base = c + dir * 4.3;
        for (double turn : {-0.7, 0.7}) {
            const double b = a + turn;
            p.drawLine(base, base + QPointF(std::cos(b), -std::sin(b)) * 2.6);
        }
    }
}

void axes(QPainter& p)
{
    p.setPen(pen(Ink, 1.2));
    p.drawLine(QPointF(2.0, 1.5), QPointF(2.0, 14.0));
    p.drawLine(QPointF(2.0, 14.0), QPointF(14.5, 14.0));
}

void paintNoAutoScale(QPainter& p)
{
    axes(p);
    p.setPen(pen(Blue, 1.4));
    p.setBrush(Qt::NoBrush);
    p.drawPath(wave(QRectF(3.0, 6.0, 11.0, 7.0)));
    p.setPen(pen(Red, 1.5));
    p.setBrush(Paper);
    p.drawEllipse(QPointF(12.0, 4.0), 3.2, 3.2);
    p.drawLine(QPointF(9.9, 1.9), QPointF(14.1, 6.1));
}

void paintExpand(QPainter& p)
{
    const QPointF c(8.0, 8.0);
    arrow(p, c + QPointF(-1.5, -1.5), QPointF(1.2, 1.2), Ink);
    arrow(p, c + QPointF(1.5, -1.5), QPointF(14.8, 1.2), Ink);
    arrow(p, c + QPointF(-1.5, 1.5), QPointF(1.2, 14.8), Ink);
    arrow(p, c + QPointF(1.5, 1.5), QPointF(14.8, 14.8), Ink);
    p.setPen(Qt::NoPen);
    p.setBrush(Blue);
    p.drawRect(QRectF(6.0, 6.0, 4.0, 4.0));
}

void paintFit(QPainter& p)
{
    // Corner brackets hugging a curve.
    p.setPen(pen(Ink, 1.5));
    p.setBrush(Qt::NoBrush);
    const double lo = 1.0, hi = 15.0, arm = 4.0;
    p.drawPolyline(QPolygonF({QPointF(lo, lo + arm), QPointF(lo, lo), QPointF(lo + arm, lo)}));
    p.drawPolyline(QPolygonF({QPointF(hi - arm, lo), QPointF(hi, lo), QPointF(hi, lo + arm)}));
    p.drawPolyline(QPolygonF({QPointF(lo, hi - arm), QPointF(lo, hi), QPointF(lo + arm, hi)}));
    p.drawPolyline(QPolygonF({QPointF(hi - arm, hi), QPointF(hi, hi), QPointF(hi, hi - arm)}));
    p.setPen(pen(Blue, 1.6));
    p.drawPath(wave(QRectF(3.0, 3.5, 10.0, 9.0)));
}

void paintEqualAxes(QPainter& p)
{
    axes(p);
    p.setPen(pen(Ink, 1.0));
    for (int i = 1; i <= 3; ++i) {
        const double t = 2.0 + i * 3.5;
        p.drawLine(QPointF(t, 14.0), QPointF(t, 15.5));
        p.drawLine(QPointF(0.5, 14.0 - i * 3.5), QPointF(2.0, 14.0 - i * 3.5));
    }
    p.setPen(pen(Blue, 1.3));
    p.setBrush(LightBlue);
    p.drawRect(QRectF(5.5, 3.5, 7.0, 7.0));
    p.setPen(pen(Blue, 1.3));
    p.drawLine(QPointF(5.5, 10.5), QPointF(12.5, 3.5));
}

void paintShowAllSamples(QPainter& p)
{
    p.setPen(pen(Blue, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawPath(wave(QRectF(1.5, 1.5, 13.0, 7.0)));
    p.setPen(pen(Ink, 1.4));
    p.drawLine(QPointF(4.0, 12.5), QPointF(12.0, 12.5));
    arrowHead(p, QPointF(0.8, 12.5), -1.0, 0.0, 3.8, Ink);
    arrowHead(p, QPointF(15.2, 12.5), 1.0, 0.0, 3.8, Ink);
    p.setPen(pen(Ink, 1.0));
    p.drawLine(QPointF(0.5, 10.0), QPointF(0.5, 15.0));
    p.drawLine(QPointF(15.5, 10.0), QPointF(15.5, 15.0));
}

void paintShowAllSamplesVertical(QPainter& p)
{
    p.save();
    p.translate(16.0, 0.0);
    p.rotate(90.0);
    paintShowAllSamples(p);
    p.restore();
}

void paintClear(QPainter& p)
{
    // An eraser on a stroke it has half wiped.
    p.setPen(QPen(Blue, 1.4, Qt::DashLine, Qt::RoundCap));
    p.drawLine(QPointF(1.0, 14.5), QPointF(7.0, 14.5));
    p.save();
    p.translate(9.0, 7.5);
    p.rotate(-40.0);
    const QRectF body(-6.0, -3.2, 12.0, 6.4);
    p.setPen(pen(Ink, 1.0));
    p.setBrush(Paper);
    p.drawRoundedRect(body, 1.2, 1.2);
    p.setBrush(Red);
    p.drawRoundedRect(QRectF(0.0, -3.2, 6.0, 6.4), 1.2, 1.2);
    p.restore();
}

void paintLayout1Window(QPainter& p)
{
    window(p, QRectF(1.5, 1.5, 13.0, 13.0));
}

void paintLayout4Windows(QPainter& p)
{
    for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 2; ++c)
            window(p, QRectF(0.5 + c * 8.0, 0.5 + r * 8.0, 7.0, 7.0));
    }
}

void paintLayout1High1Low(QPainter& p)
{
    window(p, QRectF(1.5, 0.5, 13.0, 7.0));
    window(p, QRectF(1.5, 8.5, 13.0, 7.0));
}

void paintLayout1Left1Right(QPainter& p)
{
    window(p, QRectF(0.5, 1.5, 7.0, 13.0));
    window(p, QRectF(8.5, 1.5, 7.0, 13.0));
}

void paintLayoutCustom(QPainter& p)
{
    p.setPen(pen(Ink, 1.0));
    p.setBrush(Paper);
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            p.drawRect(QRectF(0.5 + c * 5.0, 0.5 + r * 5.0, 5.0, 5.0));
    }
    p.setPen(Qt::NoPen);
    p.setBrush(Blue);
    p.drawRect(QRectF(1.0, 1.0, 9.0, 9.0));
    p.setPen(pen(Orange, 1.6));
    p.drawLine(QPointF(10.5, 13.5), QPointF(14.5, 9.5));
    arrowHead(p, QPointF(15.3, 8.7), 1.0, -1.0, 2.8, Orange);
}

struct Icon {
    const char* name;
    std::function<void(QPainter&)> paint;
};

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: iconpainter <output directory> [contact sheet]\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));

    const std::vector<Icon> icons = {
        {"clear", paintClear},
        {"noautoscale", paintNoAutoScale},
        {"equalaxes", paintEqualAxes},
        {"expand", paintExpand},
        {"pan", paintPan},
        {"layout4windows", paintLayout4Windows},
        {"legend", paintLegend},
        {"showallsamples", paintShowAllSamples},
        {"showallsamples_vertical", paintShowAllSamplesVertical},
        {"layout1window", paintLayout1Window},
        {"layoutcustom", paintLayoutCustom},
        {"zoom", paintZoom},
        {"freeze", paintFreeze},
        {"layout1high1low", paintLayout1High1Low},
        {"layout1left1right", paintLayout1Left1Right},
        {"fit", paintFit},
        {"measure", paintMeasure},
    };

    const int scale = 8;
    const int cell = 16 * scale + 8;
    QImage sheet(cell * 6, cell * ((int(icons.size()) + 5) / 6), QImage::Format_ARGB32);
    sheet.fill(QColor(0xe0, 0xe0, 0xe0));
    QPainter sheetPainter(&sheet);

    int index = 0;
    for (const Icon& icon : icons) {
        QImage image(16, 16, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        {
            QPainter p(&image);
            p.setRenderHint(QPainter::Antialiasing, true);
            icon.paint(p);
        }
        const QString file = out.filePath(QStringLiteral("%1-16.png").arg(icon.name));
        if (!image.save(file)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        const QPoint at((index % 6) * cell + 4, (index / 6) * cell + 4);
        sheetPainter.fillRect(QRect(at, QSize(16 * scale, 16 * scale)), Qt::white);
        sheetPainter.drawImage(QRect(at, QSize(16 * scale, 16 * scale)), image);
        ++index;
    }
    sheetPainter.end();
    if (argc > 2)
        sheet.save(QString::fromLocal8Bit(argv[2]));
    return 0;
}
