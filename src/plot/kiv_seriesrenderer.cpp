#include "kiv_seriesrenderer.h"

#include "kiv_dataset.h"
#include "kiv_linepixels_p.h"

#include <GL/gl.h>

#include <algorithm>
#include <climits>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Series with more samples than this per pixel column are reduced.
constexpr quint64 SamplesPerColumn = 4;
// A sample this close to a pixel edge (in pixels) may land on either side once the
// rasteriser has snapped it to its sub-pixel grid (1/256 pixel with llvmpipe); such a
// sample is always drawn.
constexpr double EdgeMargin = 1.0 / 64.0;
constexpr double Gap = KivGap;
// Line vertices are snapped to 1/256 pixel: one this close to a column edge may be drawn in
// either column.
constexpr double LineEdgeMargin = 1.0 / 128.0;
// The rasteriser's sub-pixel grid.
constexpr double SnapStep = 1.0 / 256.0;
constexpr long StepsPerPixel = 256;
// Samples kept per extreme row of a line column (with their neighbours); a flat column may
// have more, whose effect on that one pixel row is then approximated.
constexpr size_t MaxRowSamples = 48;
// A fresh reduction is handed to GL in chunks: after this many primitives, or after this many
// samples with some primitives waiting (each hand-over costs the driver about as much as
// some hundred primitives).
constexpr size_t ChunkPrimitives = 512;
constexpr quint64 ChunkSamples = 32768;
constexpr size_t MinChunkPrimitives = 64;
// Runs of four neighbouring columns that share this many rows draw them as one rectangle.
constexpr long BlockColumns = 4;
constexpr long MinSharedRows = 4;
// Points up to this many device pixels wide are reduced.
constexpr double MaxPointSize = 8.0;

// std::round() (halves away from zero), exact, without the library call: the vertex snap
// runs several times per sample.
inline double roundHalfAway(double v)
{
    if (!(std::fabs(v) < 4503599627370496.0)) // 2^52: already integral, or not a number
        return v;
    const double t = double(qint64(v)); // v without its fraction, which v - t holds exactly
    const double f = v - t;
    return f >= 0.5 ? t + 1.0 : f <= -0.5 ? t - 1.0 : t;
}

// Widens lo .. hi by the n values at p.
inline void minMax(const double *p, quint64 n, double &lo, double &hi)
{
    quint64 k = 0;
#ifdef __SSE2__
    __m128d lo0 = _mm_set1_pd(lo), lo1 = lo0, hi0 = _mm_set1_pd(hi), hi1 = hi0;
    for (; k + 4 <= n; k += 4) {
        const __m128d a = _mm_loadu_pd(p + k);
        const __m128d b = _mm_loadu_pd(p + k + 2);
        lo0 = _mm_min_pd(lo0, a);
        lo1 = _mm_min_pd(lo1, b);
        hi0 = _mm_max_pd(hi0, a);
        hi1 = _mm_max_pd(hi1, b);
    }
    double l[2], h[2];
    _mm_storeu_pd(l, _mm_min_pd(lo0, lo1));
    _mm_storeu_pd(h, _mm_max_pd(hi0, hi1));
    lo = std::min(l[0], l[1]);
    hi = std::max(h[0], h[1]);
#endif
    for (; k < n; ++k) {
        lo = std::min(lo, p[k]);
        hi = std::max(hi, p[k]);
    }
}

// Whether any of the four values at p is at or below `low` or at or above `high`.
inline bool anyOutside(const double *p, double low, double high)
{
#ifdef __SSE2__
    const __m128d l = _mm_set1_pd(low);
    const __m128d h = _mm_set1_pd(high);
    const __m128d a = _mm_loadu_pd(p);
    const __m128d b = _mm_loadu_pd(p + 2);
    const __m128d out = _mm_or_pd(_mm_or_pd(_mm_cmple_pd(a, l), _mm_cmpge_pd(a, h)),
                                  _mm_or_pd(_mm_cmple_pd(b, l), _mm_cmpge_pd(b, h)));
    return _mm_movemask_pd(out) != 0;
#else
    for (int k = 0; k < 4; ++k) {
        if (p[k] <= low || p[k] >= high)
            return true;
    }
    return false;
#endif
}

// One bar as a quad from the zero line `base` up (or down) to `y`, `width` wide.
inline void emitBar(double x, double y, double base, double width)
{
    glVertex2d(x, base);
    glVertex2d(x, y);
    glVertex2d(x + width, y);
    glVertex2d(x + width, base);
}

} // namespace

KivSeriesRenderer::Marker KivSeriesRenderer::markerOf(unsigned long style)
{
    if ((style & 0x30) == 0x30)
        return Marker::Cross;
    if ((style & 0x40) == 0x40)
        return Marker::Triangle;
    return Marker::Vertex;
}

void KivSeriesRenderer::emitShape(Marker m, double aspect, double x, double y)
{
    switch (m) {
    case Marker::Cross: {
        const double a = aspect * 0.01;
        glVertex2d(x - 0.01, y);
        glVertex2d(x + 0.01, y);
        glVertex2d(x, y - a);
        glVertex2d(x, y + a);
        break;
    }
    case Marker::Triangle: {
        const double h = 0.0034641016151377543; // 0.002 * sqrt(3)
        glVertex2d(x, y + 0.004 * aspect);
        glVertex2d(x + h, y - 0.002 * aspect);
        glVertex2d(x - h, y - 0.002 * aspect);
        break;
    }
    case Marker::Vertex:
        glVertex2d(x, y);
        break;
    }
}

void KivSeriesRenderer::draw(const KivSeriesView &view, const velo::MatrixF<3, 2> &box, int width, int height,
                             bool decimate, KivSeriesDrawing &result)
{
    v = &view;
    out = &result;
    mm = result.extents;
    result = KivSeriesDrawing();
    const quint64 count = view.count;
    const unsigned long dimField = view.style & KivDataStyleDimensionMask;
    if (count == 0 || !view.visible || dimField == 3 || !view.head)
        return;
    const int dims = int(dimField) + 1;
    const bool bar = (view.style & KivDataStyleShapeMask) == KivDataStyleBar && dims < 3;

    const double *firstSample = view.head->values + view.head->start * quint64(dims);
    if (dims == 1) {
        mm[0] = -1.0;
        mm[1] = 1.0;
        mm[2] = mm[3] = firstSample[0];
    } else {
        for (int r = 0; r < dims; ++r)
            mm[2 * r] = mm[2 * r + 1] = firstSample[r];
    }
    if (bar) {
        const double y = mm[3];
        mm[2] = std::min(0.0, y);
        if (y < 0.0)
            mm[3] = 0.0;
    }
    // A leading gap must not count as a maximum.
    for (int r = 0; r < 3; ++r) {
        if (mm[2 * r + 1] == Gap)
            mm[2 * r + 1] = -Gap;
    }

    quint64 slotCount = view.maxItemCount > 0 ? view.maxItemCount : count;
    if (!bar)
        slotCount = slotCount > 1 ? slotCount - 1 : 1;
    Mapping m;
    m.sx = 2.0 / (box(0, 1) - box(0, 0));
    m.ox = -(box(0, 1) + box(0, 0)) / 2.0;
    m.sy = 2.0 / (box(1, 1) - box(1, 0));
    m.oy = -(box(1, 1) + box(1, 0)) / 2.0;
    m.sz = 2.0 / (box(2, 1) - box(2, 0));
    m.oz = -(box(2, 1) + box(2, 0)) / 2.0;
    m.slot = 2.0 / double(slotCount);
    join = (view.style & KivDataStyleJoinGaps) != 0;
    breakAtGaps = bar || !join;
    // 1 value: bars fill 90 % of their slot; 2 values: a bar is 2 / maxItemCount wide.
    barWidth = dims == 1 ? 0.9 * m.slot * m.sx : 2.0 / double(view.maxItemCount > 0 ? view.maxItemCount : count);

    glLineWidth(GLfloat(view.pixelRatio));
    glPointSize(GLfloat(view.pixelRatio));
    const bool scope = view.maxItemCount > 0 && (view.style & 0x103) == KivDataStyleScope;
    const bool reduce = decimate && reducible(dims, width) && height > 0;
    const ReplayKey key = replayKey(view, box, width, height);
    bool drawn = false;
    if (reduce && replayValid && key == replay) {
        result = replayDrawing;
        drawReduced(m, slotCount, dims);
        drawn = true;
    } else if (reduce) {
        buildSpans(scope ? 1 : dims);
        startReduction(width, height);
        if (scope) {
            const quint64 cursor = scopeCursor(slotCount);
            // Under the series, which reach GL while they are reduced.
            drawCursorLine(m.slotX(double(cursor)));
            const quint64 wrapAt = std::min(count, view.maxItemCount - cursor);
            reduceSlots(m, 0, wrapAt, cursor);
            breakStrip(); // no line crosses the graph at the wrap
            reduceSlots(m, wrapAt, count, 0);
            drawn = true;
        } else if (dims == 1) {
            reduceSlots(m, 0, count, 0);
            drawn = true;
        } else {
            drawn = reduceXY(m);
        }
        if (drawn) {
            emitPending(m, false);
            if (!scope) {
                findCurrent(m, dims);
                drawCursorMark(m, slotCount, dims);
            }
            replay = key;
            replayDrawing = result;
        }
    }
    replayValid = drawn;
    if (!drawn) {
        if (scope)
            drawScope(m, slotCount);
        else if (dims == 1)
            drawSeries<1>(m);
        else if (dims == 2)
            drawSeries<2>(m);
        else
            drawSeries<3>(m);
        if (!scope)
            drawCursorMark(m, slotCount, dims);
    }
    if (bar)
        glColor3f(0.0f, 0.0f, 0.0f);
}

// Draws what the reduction kept, with the scope cursor or the cursor mark.
void KivSeriesRenderer::drawReduced(const Mapping &m, quint64 slotCount, int dims)
{
    const bool scope = v->maxItemCount > 0 && (v->style & 0x103) == KivDataStyleScope;
    if (scope)
        drawCursorLine(m.slotX(double(scopeCursor(slotCount))));
    emitReduced(m, 0, 0, runs.size());
    if (!scope)
        drawCursorMark(m, slotCount, dims);
}

// The sweep's cursor slot: the scope offset where it lies within the slots, else 0.
quint64 KivSeriesRenderer::scopeCursor(quint64 slotCount) const
{
    return v->scopeOffset >= 0 && quint64(v->scopeOffset) < slotCount ? quint64(v->scopeOffset) : 0;
}

KivSeriesRenderer::ReplayKey KivSeriesRenderer::replayKey(const KivSeriesView &view, const velo::MatrixF<3, 2> &box,
                                                          int width, int height)
{
    ReplayKey k{view.generation, view.count, view.maxItemCount, view.style, view.scopeOffset, view.pixelRatio,
                {}, width, height};
    for (int r = 0; r < 3; ++r) {
        k.box[2 * r] = box(r, 0);
        k.box[2 * r + 1] = box(r, 1);
    }
    return k;
}

bool KivSeriesRenderer::ReplayKey::operator==(const ReplayKey &o) const
{
    return generation == o.generation && count == o.count && maxItemCount == o.maxItemCount && style == o.style
           && scopeOffset == o.scopeOffset && pixelRatio == o.pixelRatio
           && std::equal(box, box + 6, o.box) && width == o.width && height == o.height;
}

unsigned KivSeriesRenderer::primitive(int dims) const
{
    switch (v->style & KivDataStyleShapeMask) {
    case KivDataStylePoints:
        return GL_POINTS;
    case KivDataStyleCross:
        return dims < 3 ? GL_LINES : GL_LINE_STRIP;
    case KivDataStyleTriangle:
        return dims < 3 ? GL_TRIANGLES : GL_LINE_STRIP;
    case KivDataStyleBar:
        return dims < 3 ? GL_QUADS : GL_LINE_STRIP;
    default:
        return GL_LINE_STRIP;
    }
}

void KivSeriesRenderer::beginPrimitive(unsigned primitive) const
{
    glBegin(primitive);
    glColor3d(v->color.redF(), v->color.greenF(), v->color.blueF());
}

void KivSeriesRenderer::setCurrentText(const double *p, int dims)
{
    const std::string &one = *v->oneValueFormat;
    const std::string &two = *v->twoValueFormat;
    if (dims == 1) {
        out->currentText = QString::asprintf(one.c_str(), p[0]);
    } else if (dims == 2) {
        out->currentText = QString::asprintf(two.c_str(), p[0], p[1]);
    } else {
        const std::string three = two + ", " + one;
        out->currentText = QString::asprintf(three.c_str(), p[0], p[1], p[2]);
    }
}

void KivSeriesRenderer::drawCursorLine(double x)
{
    glColor3f(0.0f, 0.0f, 0.0f);
    glBegin(GL_LINES);
    glVertex2d(x, -1.0);
    glVertex2d(x, 1.0);
    glEnd();
}

// The cursor mark at the current value: a vertical line at its slot for a time series, a
// cross at its drawn position otherwise.
void KivSeriesRenderer::drawCursorMark(const Mapping &m, quint64 slotCount, int dims)
{
    const long offset = v->scopeOffset;
    if (offset < 0 || quint64(offset) > slotCount)
        return;
    if (dims == 1) {
        drawCursorLine(m.slotX(double(offset)));
    } else if (out->hasCurrent) {
        const double x = out->currentPosition.x();
        const double y = out->currentPosition.y();
        glColor3f(0.0f, 0.0f, 0.0f);
        glBegin(GL_LINES);
        glVertex2d(x, y - 0.15);
        glVertex2d(x, y + 0.15);
        glVertex2d(x - 0.15, y);
        glVertex2d(x + 0.15, y);
        glEnd();
    }
}

// Draws every sample, oldest first; mm collects the drawn extents.
template<int D>
void KivSeriesRenderer::drawSeries(const Mapping &m)
{
    const bool bar = D < 3 && (v->style & KivDataStyleShapeMask) == KivDataStyleBar;
    const unsigned prim = primitive(D);
    const Marker shape = D < 3 ? markerOf(v->style) : Marker::Vertex;
    const double aspect = v->aspect;
    const double base = m.oy * m.sy;
    const long current = v->scopeOffset;

    bool open = false;
    const double *last = nullptr; // last drawn sample
    double lastX = 0.0, lastY = 0.0;
    quint64 i = 0;
    for (const KivSampleBlock *b = v->head; b; b = b->next) {
        const double *p = b->values + b->start * D;
        const double *end = b->values + b->fill * D;
        for (; p < end; p += D, ++i) {
            bool gap = p[0] == Gap;
            if (D > 1)
                gap = gap || p[1] == Gap;
            if (D > 2)
                gap = gap || p[2] == Gap;
            if (gap) {
                if (long(i) == current && join && last) {
                    out->currentPosition = QPointF(lastX, lastY);
                    setCurrentText(last, D);
                    out->hasCurrent = true;
                }
                if (breakAtGaps && open) {
                    glEnd();
                    open = false;
                }
                continue;
            }
            if (!open) {
                beginPrimitive(prim);
                open = true;
            }
            double x, y;
            if (D == 1) {
                x = m.slotX(double(i));
                y = (p[0] + m.oy) * m.sy;
                mm[2] = std::min(mm[2], p[0]);
                mm[3] = std::max(mm[3], p[0]);
            } else {
                x = (p[0] + m.ox) * m.sx;
                y = (p[1] + m.oy) * m.sy;
                for (int r = 0; r < D; ++r) {
                    mm[2 * r] = std::min(mm[2 * r], p[r]);
                    mm[2 * r + 1] = std::max(mm[2 * r + 1], p[r]);
                }
            }
            if (D == 3) {
                glVertex3d(x, y, (p[2] + m.oz) * m.sz);
            } else if (bar) {
                emitBar(x, y, base, barWidth);
            } else {
                emitShape(shape, aspect, x, y);
            }
            if (long(i) == current) {
                out->currentPosition = QPointF(x, y);
                setCurrentText(p, D);
                out->hasCurrent = true;
            }
            last = p;
            lastX = x;
            lastY = y;
        }
    }
    if (open)
        glEnd();
}

// Oscilloscope sweep: the oldest sample sits at the cursor slot, later ones follow to the
// right edge and wrap to the left one.
void KivSeriesRenderer::drawScope(const Mapping &m, quint64 slotCount)
{
    const bool bar = (v->style & KivDataStyleShapeMask) == KivDataStyleBar;
    const bool line = (v->style & KivDataStyleShapeMask) == KivDataStyleLine;
    const unsigned prim = primitive(1);
    const Marker shape = markerOf(v->style);
    const double aspect = v->aspect;
    const double base = m.oy * m.sy;

    const quint64 cursor = scopeCursor(slotCount);
    drawCursorLine(m.slotX(double(cursor)));

    const quint64 wrapAt = v->maxItemCount > cursor ? v->maxItemCount - cursor : 0;
    bool open = false;
    quint64 slot = cursor;
    quint64 k = 0;
    for (const KivSampleBlock *b = v->head; b; b = b->next) {
        const double *p = b->values + b->start;
        const double *end = b->values + b->fill;
        for (; p < end; ++p, ++k, ++slot) {
            if (k == wrapAt) {
                slot = 0;
                if (line && open) {
                    glEnd();
                    open = false;
                }
            }
            const double val = *p;
            if (val == Gap) {
                if (breakAtGaps && open) {
                    glEnd();
                    open = false;
                }
                continue;
            }
            if (!open) {
                beginPrimitive(prim);
                open = true;
            }
            const double x = m.slotX(double(slot));
            const double y = (val + m.oy) * m.sy;
            if (bar) {
                emitBar(x, y, base, barWidth);
            } else {
                emitShape(shape, aspect, x, y);
            }
            mm[2] = std::min(mm[2], val);
            mm[3] = std::max(mm[3], val);
        }
    }
    if (open)
        glEnd();
}

// Plain lines, points and 1-value bars with more samples than about four per pixel column.
// The line model holds for one-pixel lines only, the point model for points a whole number
// of pixels wide: on a screen with more device pixels per graph pixel, lines (and points at a
// fractional ratio) are drawn sample by sample.
bool KivSeriesRenderer::reducible(int dims, int width) const
{
    if (width <= 0 || v->count <= SamplesPerColumn * quint64(width))
        return false;
    switch (v->style & KivDataStyleShapeMask) {
    case KivDataStyleLine:
        return dims < 3 && v->pixelRatio == 1.0;
    case KivDataStylePoints:
        return dims < 3 && v->pixelRatio >= 1.0 && v->pixelRatio <= MaxPointSize
               && v->pixelRatio == std::floor(v->pixelRatio);
    case KivDataStyleBar:
        return dims == 1;
    default:
        return false;
    }
}

void KivSeriesRenderer::buildSpans(int dims)
{
    spans.clear();
    quint64 first = 0;
    for (const KivSampleBlock *b = v->head; b && first < v->count; b = b->next) {
        const quint64 n = std::min(b->fill - b->start, v->count - first);
        if (n > 0)
            spans.push_back(Span{b->values + b->start * quint64(dims), n, first});
        first += n;
    }
}

const double *KivSeriesRenderer::sampleAt(quint64 i, int dims) const
{
    auto s = std::upper_bound(spans.begin(), spans.end(), i, [](quint64 k, const Span &sp) { return k < sp.first; });
    --s;
    return s->p + (i - s->first) * quint64(dims);
}

// Calls f(p, n, i) for each stored run of the samples first .. end - 1 (p at sample i).
template<class F>
void KivSeriesRenderer::forRange(quint64 first, quint64 end, int dims, F &&f) const
{
    if (first >= end)
        return;
    auto s = std::upper_bound(spans.begin(), spans.end(), first, [](quint64 k, const Span &sp) { return k < sp.first; });
    for (--s; s != spans.end() && s->first < end; ++s) {
        const quint64 from = std::max(first, s->first);
        const quint64 to = std::min(end, s->first + s->n);
        if (from < to)
            f(s->p + (from - s->first) * quint64(dims), to - from, from);
    }
}

// Widens the y extents by samples that are not visited for drawing.
void KivSeriesRenderer::widenY(quint64 first, quint64 end)
{
    double lo = mm[2];
    double hi = mm[3];
    forRange(first, end, 1, [&](const double *p, quint64 n, quint64) {
        for (quint64 k = 0; k < n; ++k) {
            const double val = p[k];
            lo = std::min(lo, val); // a gap is the largest double: it never lowers the minimum
            if (val != Gap)
                hi = std::max(hi, val);
        }
    });
    mm[2] = lo;
    mm[3] = hi;
}

// Reduces the 1-value samples first .. end - 1, drawn at the slots from slot0 on. Only the
// visible slots and one neighbour each side are visited for drawing.
void KivSeriesRenderer::reduceSlots(const Mapping &m, quint64 first, quint64 end, quint64 slot0)
{
    if (first >= end)
        return;
    // Slot s is drawn at (-1 + s * slot + ox) * sx, visible within -1 .. 1.
    const double lowSlot = std::floor((1.0 - 1.0 / m.sx - m.ox) / m.slot) - 1.0 - double(slot0);
    const double highSlot = std::ceil((1.0 + 1.0 / m.sx - m.ox) / m.slot) + 2.0 - double(slot0);
    const double n = double(end - first);
    quint64 from = first + quint64(std::min(std::max(lowSlot, 0.0), n));
    quint64 to = std::max(from, first + quint64(std::min(std::max(highSlot, 0.0), n)));
    if (reduction == Reduction::Line)
        reachPastGaps(first, end, from, to);
    widenY(first, from);
    widenY(to, end);

    // Bars, and points wider than a pixel, are reduced sample by sample.
    if (reduction == Reduction::Bars || (reduction == Reduction::Points && pointSize > 1)) {
        addSlots(m, from, to, first, slot0);
        return;
    }
    // Column by column: the samples of one pixel column are found from the slot width.
    const double pixelsPerSample = m.slot * m.sx * halfWidth;
    quint64 i = from;
    while (i < to) {
        const double px = (m.slotX(double(slot0 + (i - first))) + 1.0) * halfWidth;
        quint64 e = to;
        if (px < double(columns)) {
            const double edge = px < 0.0 ? 0.0 : std::floor(px) + 1.0;
            auto before = [&](quint64 k) {
                return (m.slotX(double(slot0 + (k - first))) + 1.0) * halfWidth < edge;
            };
            const double guess = double(i) + std::ceil((edge - px) / pixelsPerSample);
            e = guess >= double(to) ? to : std::max(i + 1, quint64(guess));
            while (e < to && before(e))
                ++e;
            while (e > i + 1 && !before(e - 1))
                --e;
        }
        if (reduction == Reduction::Line)
            reduceLineColumn(m, i, e, first, slot0);
        else
            reducePointColumn(m, i, e, first, slot0);
        emitChunk(m, e - i);
        i = e;
    }
    flushPendingTail();
}

// A joined line crosses gaps: the visited samples first .. end - 1 of a line (one neighbour
// beyond each window edge) grow to the nearest sample each side that is not one.
void KivSeriesRenderer::reachPastGaps(quint64 first, quint64 end, quint64 &from, quint64 &to) const
{
    if (!join || from >= to)
        return;
    while (from > first && *sampleAt(from, 1) == Gap)
        --from;
    while (to < end && *sampleAt(to - 1, 1) == Gap)
        ++to;
}

// Offers the 1-value samples from .. to - 1 one by one (sample `first` in slot `slot0`).
void KivSeriesRenderer::addSlots(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0)
{
    forRange(from, to, 1, [&](const double *p, quint64 count, quint64 i0) {
        for (quint64 k = 0; k < count; ++k) {
            const double val = p[k];
            if (val == Gap) {
                if (breakAtGaps)
                    breakStrip();
                continue;
            }
            mm[2] = std::min(mm[2], val);
            mm[3] = std::max(mm[3], val);
            const quint64 i = i0 + k;
            add(m.slotX(double(slot0 + (i - first))), (val + m.oy) * m.sy);
        }
    });
}

// Where the rasteriser puts a vertex: the viewport transform in single precision, then
// snapped to its 1/256-pixel grid.
QPointF KivSeriesRenderer::windowPoint(double x, double y) const
{
    const float wx = float(x) * float(halfWidth) + float(halfWidth);
    const float wy = float(y) * float(halfHeight) + float(halfHeight);
    return QPointF(roundHalfAway(double(wx) * 256.0) / 256.0, roundHalfAway(double(wy) * 256.0) / 256.0);
}

// The points from .. to - 1 lie in one pixel column: one point per pixel row, except that
// points near a pixel edge are all drawn.
void KivSeriesRenderer::reducePointColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0)
{
    const double x = m.slotX(double(slot0 + (from - first)));
    const double px = (x + 1.0) * halfWidth;
    if (!(px > -1.0 && px < double(columns) + 1.0)) {
        addSlots(m, from, to, first, slot0); // off the viewport: extents only
        return;
    }
    const long c = long(std::floor(px));
    long litLow = rows + 1;
    long litHigh = -2;
    const float half = float(halfHeight);
    const double rowsInSteps = double(rows + 1) / SnapStep;
    // The first and last samples of a column lie nearest its edges; a point a sub-pixel step
    // inside its pixel once snapped lights that pixel.
    auto safeX = [&](quint64 i) {
        const double fx = windowPoint(m.slotX(double(slot0 + (i - first))), 0.0).x() - double(c);
        return fx >= SnapStep && fx <= 1.0 - SnapStep;
    };
    quint64 innerFrom = from;
    while (innerFrom < to && !safeX(innerFrom))
        ++innerFrom;
    quint64 innerTo = to;
    while (innerTo > innerFrom && !safeX(innerTo - 1))
        --innerTo;
    addSlots(m, from, innerFrom, first, slot0);
    double lo = mm[2];
    double hi = mm[3];
    forRange(innerFrom, innerTo, 1, [&](const double *p, quint64 n, quint64 i0) {
        for (quint64 k = 0; k < n; ++k) {
            const double val = p[k];
            if (val == Gap)
                continue;
            lo = std::min(lo, val);
            hi = std::max(hi, val);
            // The rasteriser's window row in sub-pixel steps (see windowPoint()).
            const float wy = float((val + m.oy) * m.sy) * half + half;
            const double steps = roundHalfAway(double(wy) / SnapStep);
            if (!(steps > -1.0 / SnapStep && steps < rowsInSteps))
                continue;
            // Whole steps: the row and the step within it, exactly (steps > -256).
            const long whole = long(steps);
            const long row = whole < 0 ? -1 : whole / StepsPerPixel;
            if (whole - row * StepsPerPixel != 0) {
                rowColumn[size_t(row + 1)] = c;
                litLow = std::min(litLow, row);
                litHigh = std::max(litHigh, row);
                continue;
            }
            const quint64 i = i0 + k;
            keep(m.slotX(double(slot0 + (i - first))), (val + m.oy) * m.sy);
        }
    });
    mm[2] = lo;
    mm[3] = hi;
    // Each run of lit pixels in the column becomes one vertical segment through the pixel
    // centres, from a quarter into its first pixel to a quarter into the pixel above its
    // last: under the diamond-exit rule it lights exactly the run. A lone pixel becomes a
    // point at its centre.
    const double xc = (double(c) + 0.5) / halfWidth - 1.0;
    for (long r = litLow; r <= litHigh;) {
        if (rowColumn[size_t(r + 1)] != c) {
            ++r;
            continue;
        }
        long end = r + 1;
        while (end <= litHigh && rowColumn[size_t(end + 1)] == c)
            ++end;
        if (end == r + 1) {
            keep(xc, (double(r) + 0.5) / halfHeight - 1.0); // a point costs less than a line
            r = end;
            continue;
        }
        runs.push_back(ColumnRun{c, r, end - 1});
        r = end;
    }
    addSlots(m, innerTo, to, first, slot0);
}

// Whether the segment a -> b (window pixels) lights the pixel centred at `centre` under the
// diamond-exit rule: it must pass through the pixel's diamond (|dx| + |dy| < 1/2) and end
// outside it. Within two sub-pixel steps of either limit the answer is Maybe.
KivSeriesRenderer::Light KivSeriesRenderer::lights(const QPointF &a, const QPointF &b, const QPointF &centre)
{
    const double dx = b.x() - a.x();
    const double dy = b.y() - a.y();
    auto distance = [&](double t) {
        return std::fabs(a.x() + t * dx - centre.x()) + std::fabs(a.y() + t * dy - centre.y());
    };
    // The distance is convex and piecewise linear in t: its least value is at an end or
    // where the segment crosses the centre's row or column.
    double least = std::min(distance(0.0), distance(1.0));
    if (dx != 0.0) {
        const double t = (centre.x() - a.x()) / dx;
        if (t > 0.0 && t < 1.0)
            least = std::min(least, distance(t));
    }
    if (dy != 0.0) {
        const double t = (centre.y() - a.y()) / dy;
        if (t > 0.0 && t < 1.0)
            least = std::min(least, distance(t));
    }
    const double end = distance(1.0);
    const double margin = 1.0 / 128.0;
    if (least > 0.5 + margin || end < 0.5 - margin)
        return Light::Never;
    // An end on the centre's row or column puts the centre on an edge of the rasteriser's
    // quad for the line, where its fill rule decides.
    auto onCentreLine = [&](const QPointF &p) {
        return std::fabs(p.x() - centre.x()) < margin || std::fabs(p.y() - centre.y()) < margin;
    };
    if (least < 0.5 - margin && end > 0.5 + margin && !onCentreLine(a) && !onCentreLine(b))
        return Light::Surely;
    return Light::Maybe;
}

// Whether the segment a -> b (graph coordinates) lights pixel (column, row): exactly where
// the line model knows, else by the margins of lights(). An end on a row boundary stays with
// lights(): such a line may light the row below the one its value falls in, which the
// reduction of a column only finds among the doubtful segments.
KivSeriesRenderer::Light KivSeriesRenderer::segmentLights(const QPointF &a, const QPointF &b, long column,
                                                          long row) const
{
    const QPointF wa = windowPoint(a.x(), a.y());
    const QPointF wb = windowPoint(b.x(), b.y());
    KivLinePixels line{int(columns), int(rows)};
    if (wa.y() != std::floor(wa.y()) && wb.y() != std::floor(wb.y())
        && line.setSegment(a.x(), a.y(), b.x(), b.y()))
        return line.lights(column, row) ? Light::Surely : Light::Never;
    return lights(wa, wb, QPointF(double(column) + 0.5, double(row) + 0.5));
}

// The samples from .. to - 1 of a line lie in one pixel column: two tight passes find its
// extremes and judge its top and bottom pixel, then the column becomes a run (runColumn())
// or, where that cannot be decided, the samples that decide its pixels. Pieces between gaps
// are reduced one by one.
void KivSeriesRenderer::reduceLineColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0)
{
    double lo = HUGE_VAL;
    double hi = -HUGE_VAL;
    forRange(from, to, 1, [&](const double *p, quint64 n, quint64) { minMax(p, n, lo, hi); });
    // Stored values are finite or the gap marker, the largest double.
    const bool gap = hi == Gap;
    if (gap) {
        // Each piece between gaps is reduced on its own; a gap breaks the line unless joined.
        pieces.clear();
        forRange(from, to, 1, [&](const double *p, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n; ++k) {
                const bool isGap = p[k] == Gap;
                if (!isGap && (pieces.empty() || pieces.back().second != i0 + k))
                    pieces.emplace_back(i0 + k, i0 + k + 1);
                else if (!isGap)
                    ++pieces.back().second;
            }
        });
        // A piece holds no gap, so reducing it leaves `pieces` alone.
        quint64 at = from;
        for (const auto &piece : pieces) {
            if (breakAtGaps && piece.first > at)
                breakStrip();
            reduceLineColumn(m, piece.first, piece.second, first, slot0);
            at = piece.second;
        }
        if (breakAtGaps && at < to)
            breakStrip();
        return;
    }
    if (!(lo <= hi))
        return;
    mm[2] = std::min(mm[2], lo);
    mm[3] = std::max(mm[3], hi);

    auto xOf = [&](quint64 i) { return xAt(m, i, first, slot0); };
    auto rowOf = [&](double val) { return rowOfValue(m, val); };
    // The top and bottom pixel rows. Inside the viewport, the segments within the column
    // that touch such a row are judged (see lights()): one that surely lights the row's
    // pixel is kept, or, when none can, one sample of the row with its neighbours; every
    // other kept segment touching the row must then leave the pixel dark too. Where that
    // cannot be decided, all samples of the row are kept with their neighbours. Beyond the
    // viewport only the first extreme sample counts.
    const double px0 = (xOf(from) + 1.0) * halfWidth;
    const long column = px0 >= 0.0 ? (px0 < double(columns) ? long(px0) : columns) : -1;
    const long topRow = rowOf(hi);
    const long bottomRow = rowOf(lo);
    const double rowSpan = 1.0 / (halfHeight * m.sy);
    const double topFrom = topRow < rows ? (double(topRow) / halfHeight - 1.0) / m.sy - m.oy - 0.01 * rowSpan : hi;
    const double bottomTo = bottomRow >= 0 ? (double(bottomRow + 1) / halfHeight - 1.0) / m.sy - m.oy + 0.01 * rowSpan : lo;
    const bool visibleColumn = column >= 0 && column < columns;
    RowJudgement top{topRow, visibleColumn && topRow < rows};
    RowJudgement bottom{bottomRow, visibleColumn && bottomRow >= 0};
    auto inTop = [&](double val) { return val >= topFrom && rowOf(val) == topRow; };
    auto inBottom = [&](double val) { return val <= bottomTo && rowOf(val) == bottomRow; };
    auto pointOf = [&](quint64 i, double val) { return windowPoint(xOf(i), (val + m.oy) * m.sy); };
    auto judge = [&](RowJudgement &row, quint64 i, double a, double b) {
        if (!row.inside) {
            if (!row.sure) {
                row.sure = row.any = true;
                row.witness = i;
            }
            return;
        }
        // Once the pixel is surely lit, its doubts no longer count.
        if (row.sure)
            return;
        const Light l = segmentLights(QPointF(xOf(i - 1), (a + m.oy) * m.sy), QPointF(xOf(i), (b + m.oy) * m.sy),
                                      column, row.row);
        if (l == Light::Surely) {
            row.sure = row.any = true;
            row.witness = i;
            return;
        }
        if (l == Light::Maybe) {
            if (row.doubts < RowJudgement::MaxDoubts)
                row.doubtful[row.doubts] = i;
            ++row.doubts;
        }
        if (row.any)
            return;
        // The stand-in for a dark pixel must lie well inside the column, where the rows
        // below it are lit the same way as by the full line.
        const double centre = double(column) + 0.5;
        auto inner = [&](const QPointF &w) { return std::fabs(w.x() - centre) < 0.5 - LineEdgeMargin; };
        if (inner(pointOf(i - 1, a)) && inner(pointOf(i, b))) {
            row.any = true;
            row.witness = i;
        }
    };
    // Each segment with an end in a row is judged once: from its left end when that is in
    // the row, else from its right end.
    double before = 0.0;
    bool beforeTop = false;
    bool beforeBottom = false;
    forRange(from, to, 1, [&](const double *q, quint64 n, quint64 i0) {
        for (quint64 k = 0; k < n; ++k) {
            // Most samples lie in neither row: skip them four at a time.
            if ((k & 3) == 0 && k + 4 <= n && !anyOutside(q + k, bottomTo, topFrom)) {
                before = q[k + 3];
                beforeTop = beforeBottom = false;
                k += 3;
                continue;
            }
            const double val = q[k];
            if (!(val >= topFrom || val <= bottomTo)) {
                before = val;
                beforeTop = beforeBottom = false;
                continue;
            }
            const quint64 i = i0 + k;
            const bool isTop = inTop(val);
            const bool isBottom = inBottom(val);
            const bool hasNext = i + 1 < to;
            const double next = !hasNext ? 0.0 : k + 1 < n ? q[k + 1] : *sampleAt(i + 1, 1);
            for (RowJudgement *row : {&top, &bottom}) {
                const bool in = row == &top ? isTop : isBottom;
                if (!in)
                    continue;
                if (i > from && !(row == &top ? beforeTop : beforeBottom))
                    judge(*row, i, before, val);
                if (hasNext)
                    judge(*row, i + 1, val, next);
            }
            before = val;
            beforeTop = isTop;
            beforeBottom = isBottom;
        }
    });
    if (runColumn(m, from, to, first, slot0, column, lo, hi, top, bottom))
        return;
    flushPendingTail();
    // An extreme row inside the viewport with no witness has only segments near the column's
    // edges: nothing to keep stands for the rows just within it, so the column stays as it is.
    if ((top.inside && !top.any) || (bottom.inside && !bottom.any)) {
        forRange(from, to, 1, [&](const double *p, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n; ++k)
                keep(xOf(i0 + k), (p[k] + m.oy) * m.sy);
        });
        return;
    }
    picks.clear();
    auto pick = [&](quint64 i, double val) { picks.push_back(Kept{i, xOf(i), (val + m.oy) * m.sy}); };
    pick(from, *sampleAt(from, 1));
    pick(to - 1, *sampleAt(to - 1, 1));
    // Samples near the column's edges, with their neighbours.
    for (quint64 i = from; i < to; ++i) {
        const double px = (xOf(i) + 1.0) * halfWidth;
        const double fx = px - std::floor(px);
        if (fx >= LineEdgeMargin)
            break;
        for (quint64 k = i > from ? i - 1 : i; k <= i + 1 && k < to; ++k)
            pick(k, *sampleAt(k, 1));
    }
    for (quint64 i = to; i-- > from;) {
        const double px = (xOf(i) + 1.0) * halfWidth;
        const double fx = px - std::floor(px);
        if (fx <= 1.0 - LineEdgeMargin)
            break;
        for (quint64 k = i > from ? i - 1 : i; k <= i + 1 && k < to; ++k)
            pick(k, *sampleAt(k, 1));
    }
    // The first and last sample with their inner neighbours; the segment judged for a row
    // (ending at its witness) with the samples either side.
    if (to - from >= 3) {
        pick(from + 1, *sampleAt(from + 1, 1));
        pick(to - 2, *sampleAt(to - 2, 1));
    }
    auto pickAround = [&](quint64 end) {
        const quint64 last = std::min(to - 1, end + 1);
        for (quint64 k = std::max(from, end >= 2 ? end - 2 : 0); k <= last; ++k)
            pick(k, *sampleAt(k, 1));
    };
    for (const RowJudgement *row : {&top, &bottom}) {
        if (row->witness > from)
            pickAround(row->witness);
        // Segments that may light the pixel are drawn as they are, so that it ends up as the
        // full line leaves it.
        if (!row->sure) {
            for (int d = 0; d < std::min(row->doubts, RowJudgement::MaxDoubts); ++d)
                pickAround(row->doubtful[d]);
        }
    }
    std::sort(picks.begin(), picks.end(), [](const Kept &a, const Kept &b) { return a.i < b.i; });
    // A connecting segment may not light a pixel that the full line leaves dark.
    bool exact = (top.sure || top.doubts <= RowJudgement::MaxDoubts)
                 && (bottom.sure || bottom.doubts <= RowJudgement::MaxDoubts);
    for (size_t k = 1; exact && k < picks.size(); ++k) {
        const Kept &a = picks[k - 1];
        const Kept &b = picks[k];
        if (b.i <= a.i + 1)
            continue;
        // Only a segment with an end in the row can reach it.
        const long rowA = rowOf(a.y / m.sy - m.oy);
        const long rowB = rowOf(b.y / m.sy - m.oy);
        for (const RowJudgement *row : {&top, &bottom}) {
            if (!row->inside || row->sure || (std::abs(rowA - row->row) > 1 && std::abs(rowB - row->row) > 1))
                continue;
            if (segmentLights(QPointF(a.x, a.y), QPointF(b.x, b.y), column, row->row) != Light::Never)
                exact = false;
        }
    }
    if (!exact) {
        // Every sample of the two rows with its neighbours.
        size_t left = MaxRowSamples;
        bool needNext = false;
        forRange(from, to, 1, [&](const double *q, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n; ++k) {
                const double val = q[k];
                const quint64 i = i0 + k;
                if (needNext) {
                    pick(i, val);
                    needNext = false;
                }
                if (left > 0 && (inTop(val) || inBottom(val))) {
                    --left;
                    if (i > from)
                        pick(i - 1, before);
                    pick(i, val);
                    needNext = true;
                }
                before = val;
            }
        });
    }
    std::sort(picks.begin(), picks.end(), [](const Kept &a, const Kept &b) { return a.i < b.i; });
    quint64 previousIndex = ~quint64(0);
    for (const Kept &k : picks) {
        if (k.i != previousIndex)
            keep(k.x, k.y);
        previousIndex = k.i;
    }
}

// A column lights every row between its top and bottom pixel: its inner segments become one
// vertical run through the pixel centres, and only the segments next to the column's edges
// (which may light the neighbouring column) and those that may or may not light an extreme
// pixel are drawn as they are. Returns false where that does not hold (rows beyond the
// viewport, too many doubtful segments).
bool KivSeriesRenderer::runColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0,
                                  long column, double lo, double hi, const RowJudgement &top,
                                  const RowJudgement &bottom)
{
    if (column < 0 || column >= columns || top.row < 0 || bottom.row >= rows
        || (!top.sure && top.doubts > RowJudgement::MaxDoubts)
        || (!bottom.sure && bottom.doubts > RowJudgement::MaxDoubts))
        return false;
    auto xOf = [&](quint64 i) { return xAt(m, i, first, slot0); };
    // Inner samples lie strictly inside the column once snapped.
    auto inner = [&](quint64 i) {
        const double fx = windowPoint(xOf(i), 0.0).x() - double(column);
        return fx > 0.0 && fx < 1.0;
    };
    quint64 a = from;
    while (a < to && !inner(a))
        ++a;
    quint64 b = to;
    while (b > a && !inner(b - 1))
        --b;
    if (b <= a + 1)
        return false;
    --b;
    // The run stands for the inner segments; the segments at the edges light the neighbouring
    // column as well. Where only those reach an extreme row, the inner extreme row is left to
    // the inner segments that touch it, drawn as they are.
    // The inner samples hold the column's extremes unless an edge sample reaches one too.
    double innerLow = lo, innerHigh = hi;
    double edgeLow = HUGE_VAL, edgeHigh = -HUGE_VAL;
    forRange(from, a, 1, [&](const double *p, quint64 n, quint64) { minMax(p, n, edgeLow, edgeHigh); });
    forRange(b + 1, to, 1, [&](const double *p, quint64 n, quint64) { minMax(p, n, edgeLow, edgeHigh); });
    if (edgeLow <= lo || edgeHigh >= hi) {
        innerLow = HUGE_VAL;
        innerHigh = -HUGE_VAL;
        forRange(a, b + 1, 1, [&](const double *p, quint64 n, quint64) { minMax(p, n, innerLow, innerHigh); });
    }
    auto rowOf = [&](double val) { return rowOfValue(m, val); };
    const long innerTop = rowOf(innerHigh);
    const long innerBottom = rowOf(innerLow);
    const bool topReached = innerTop == top.row;
    const bool bottomReached = innerBottom == bottom.row;
    asIs.clear();
    if (!topReached || !bottomReached) {
        bool fits = true;
        forRange(a, b + 1, 1, [&](const double *p, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n && fits; ++k) {
                const long r = rowOf(p[k]);
                if ((!topReached && r == innerTop) || (!bottomReached && r == innerBottom)) {
                    asIs.push_back(i0 + k);
                    fits = asIs.size() <= MaxRowSamples;
                }
            }
        });
        if (!fits)
            return false;
    }
    // An inner extreme row that only the inner segments touching it reach: its pixel is lit
    // when one of them surely lights it, dark when none may. Only where that stays open are
    // they drawn as they are.
    auto pointAt = [&](quint64 i) { return QPointF(xOf(i), (*sampleAt(i, 1) + m.oy) * m.sy); };
    bool topLit = false, topOpen = false, bottomLit = false, bottomOpen = false;
    for (quint64 i : asIs) {
        const long r = rowOf(*sampleAt(i, 1));
        for (quint64 end : {i, i + 1}) {
            if (end <= a || end > b)
                continue;
            for (bool isTop : {true, false}) {
                if (isTop ? (topReached || r != innerTop) : (bottomReached || r != innerBottom))
                    continue;
                const Light l = segmentLights(pointAt(end - 1), pointAt(end), column, r);
                (isTop ? topLit : bottomLit) |= l == Light::Surely;
                (isTop ? topOpen : bottomOpen) |= l == Light::Maybe;
            }
        }
    }
    topOpen = topOpen && !topLit;
    bottomOpen = bottomOpen && !bottomLit;
    // A line leaving the viewport lights every row up to its edge.
    long low = std::max(bottomReached ? (bottom.sure ? bottom.row : bottom.row + 1)
                                      : (bottomLit ? innerBottom : innerBottom + 1),
                        0L);
    long high = std::min(topReached ? (top.sure ? top.row : top.row - 1) : (topLit ? innerTop : innerTop - 1),
                         rows - 1);
    // The segments up to the first inner sample, and from the last one on, as they are, but
    // for those across the left edge that stay within the runs either side of it.
    if (pendingRun.column == column - 1 && !pendingTail.empty()) {
        forRange(from, a + 1, 1, [&](const double *p, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n; ++k) {
                pendingTail.push_back(xOf(i0 + k));
                pendingTail.push_back((p[k] + m.oy) * m.sy);
            }
        });
        ColumnRun run{column, low, high};
        keepAcrossEdge(pendingRun, run);
        low = run.low;
        high = run.high;
    } else {
        flushPendingTail();
        forRange(from, a + 1, 1, [&](const double *p, quint64 n, quint64 i0) {
            for (quint64 k = 0; k < n; ++k)
                keep(xOf(i0 + k), (p[k] + m.oy) * m.sy);
        });
    }
    breakStrip();
    auto keepSegment = [&](quint64 i) {
        keep(xOf(i - 1), (*sampleAt(i - 1, 1) + m.oy) * m.sy);
        keep(xOf(i), (*sampleAt(i, 1) + m.oy) * m.sy);
        breakStrip();
    };
    // A row that only some segments may light is left to those segments, drawn as they are.
    for (const RowJudgement *row : {&top, &bottom}) {
        if (row->sure || !(row == &top ? topReached : bottomReached))
            continue;
        for (int d = 0; d < row->doubts; ++d)
            keepSegment(row->doubtful[d]);
    }
    for (quint64 i : asIs) {
        const long r = rowOf(*sampleAt(i, 1));
        if (!((topOpen && r == innerTop) || (bottomOpen && r == innerBottom)))
            continue;
        if (i > a)
            keepSegment(i);
        if (i < b)
            keepSegment(i + 1);
    }
    // The tail waits for the next column's run.
    forRange(b, to, 1, [&](const double *p, quint64 n, quint64 i0) {
        for (quint64 k = 0; k < n; ++k) {
            pendingTail.push_back(xOf(i0 + k));
            pendingTail.push_back((p[k] + m.oy) * m.sy);
        }
    });
    pendingRun = ColumnRun{column, low, high};
    if (low <= high)
        runs.push_back(ColumnRun{column, low, high});
    return true;
}

// Keeps the segments of the pending polyline around the edge between the columns of `left`
// and `right`. Such a segment lies within a pixel of that edge, so it lights pixels of these
// two columns only, within the rows its ends reach: where both runs cover those rows, it adds
// nothing. Where the line model knows its pixels and they touch the runs, the runs grow over
// them instead (`left` is the last run kept, `right` the one about to be).
void KivSeriesRenderer::keepAcrossEdge(const ColumnRun &left, ColumnRun &right)
{
    const size_t n = pendingTail.size() / 2;
    const double *p = pendingTail.data();
    const long low = std::max(left.low, right.low);
    const long high = std::min(left.high, right.high);
    ColumnRun *kept = !runs.empty() && runs.back().column == left.column ? &runs.back() : nullptr;
    // Rows of the snapped ends: a segment lights no row beyond them.
    auto rowOf = [&](size_t k) { return long(std::floor(windowPoint(p[2 * k], p[2 * k + 1]).y())); };
    KivLinePixels line{int(columns), int(rows)};
    // Grows the runs over the segment's pixels, if they all lie next to or within them.
    auto absorb = [&](size_t k) {
        if (!kept || right.low > right.high
            || !line.setSegment(p[2 * k], p[2 * k + 1], p[2 * k + 2], p[2 * k + 3]))
            return false;
        ColumnRun grown[2] = {*kept, right};
        for (long c = line.firstColumn(); c <= line.lastColumn(); ++c) {
            long lo, hi;
            line.rowsIn(c, lo, hi);
            if (lo > hi)
                continue;
            ColumnRun *run = c == grown[0].column ? &grown[0] : c == grown[1].column ? &grown[1] : nullptr;
            if (!run || hi < run->low - 1 || lo > run->high + 1)
                return false;
            run->low = std::min(run->low, lo);
            run->high = std::max(run->high, hi);
        }
        *kept = grown[0];
        right = grown[1];
        return true;
    };
    size_t lastKept = ~size_t(0);
    long rb = n > 0 ? rowOf(0) : 0;
    for (size_t k = 0; k + 1 < n; ++k) {
        const long ra = rb;
        rb = rowOf(k + 1);
        if ((std::min(ra, rb) >= low && std::max(ra, rb) <= high) || absorb(k))
            continue;
        if (lastKept != k) {
            startStrip();
            keep(p[2 * k], p[2 * k + 1]);
        }
        keep(p[2 * k + 2], p[2 * k + 3]);
        lastKept = k + 1;
    }
    pendingTail.clear();
}

// Keeps the tail of the last run column as it is when no run follows it.
void KivSeriesRenderer::flushPendingTail()
{
    for (size_t k = 0; k + 1 < pendingTail.size(); k += 2)
        keep(pendingTail[k], pendingTail[k + 1]);
    pendingTail.clear();
}

// Pixel row of value `val`: -1 below the viewport, `rows` above it.
long KivSeriesRenderer::rowOfValue(const Mapping &m, double val) const
{
    const double py = ((val + m.oy) * m.sy + 1.0) * halfHeight;
    return py >= 0.0 ? (py < double(rows) ? long(py) : rows) : -1;
}

// Drawn x of sample i: its slot in a time series, its own x in a 2-value line.
double KivSeriesRenderer::xAt(const Mapping &m, quint64 i, quint64 first, quint64 slot0) const
{
    return columnX ? columnX[i] : m.slotX(double(slot0 + (i - first)));
}

// A 2-value line whose x never decreases is reduced column by column as a time series is:
// its drawn x and its y (the gap marker where either is a gap) are laid out side by side
// first. Returns false (having drawn nothing) where x goes back.
bool KivSeriesRenderer::reduceXYLine(const Mapping &m)
{
    const quint64 count = v->count;
    xyX.resize(count);
    xyY.resize(count);
    double previousX = -HUGE_VAL;
    double drawnX = -HUGE_VAL;
    bool monotonic = true;
    double lo[2] = {mm[0], mm[2]}, hi[2] = {mm[1], mm[3]};
    forRange(0, count, 2, [&](const double *p, quint64 n, quint64 i0) {
        for (quint64 k = 0; k < n && monotonic; ++k, p += 2) {
            const quint64 i = i0 + k;
            // A gap's x may be the gap marker: it takes the x of the sample before it, so
            // that the columns stay in order.
            if (p[0] == Gap || p[1] == Gap) {
                xyX[i] = drawnX;
                xyY[i] = Gap;
                continue;
            }
            monotonic = p[0] >= previousX;
            previousX = p[0];
            drawnX = (p[0] + m.ox) * m.sx;
            xyX[i] = drawnX;
            xyY[i] = p[1];
            for (int r = 0; r < 2; ++r) {
                lo[r] = std::min(lo[r], p[r]);
                hi[r] = std::max(hi[r], p[r]);
            }
        }
    });
    if (!monotonic)
        return false;
    for (int r = 0; r < 2; ++r) {
        mm[2 * r] = lo[r];
        mm[2 * r + 1] = hi[r];
    }
    spans.assign(1, Span{xyY.data(), count, 0});
    columnX = xyX.data();
    // Only the visible columns and one sample either side are visited.
    auto pixel = [&](quint64 i) { return (xyX[i] + 1.0) * halfWidth; };
    quint64 from = quint64(std::partition_point(xyX.begin(), xyX.end(), [&](double x) { return (x + 1.0) * halfWidth < 0.0; })
                           - xyX.begin());
    quint64 to = quint64(std::partition_point(xyX.begin() + long(from), xyX.end(),
                                              [&](double x) { return (x + 1.0) * halfWidth < double(columns); })
                         - xyX.begin());
    from = from > 0 ? from - 1 : 0;
    to = std::min(count, to + 1);
    reachPastGaps(0, count, from, to);
    quint64 i = from;
    while (i < to) {
        const double px = pixel(i);
        quint64 e = i + 1;
        if (px < double(columns)) {
            const double edge = px < 0.0 ? 0.0 : std::floor(px) + 1.0;
            e = quint64(std::partition_point(xyX.begin() + long(i), xyX.begin() + long(to),
                                             [&](double x) { return (x + 1.0) * halfWidth < edge; })
                        - xyX.begin());
            e = std::max(e, i + 1);
        } else {
            e = to;
        }
        reduceLineColumn(m, i, e, 0, 0);
        emitChunk(m, e - i);
        i = e;
    }
    flushPendingTail();
    columnX = nullptr;
    buildSpans(2);
    return true;
}

// Reduces a 2-value series. A line whose x goes back anywhere cannot be reduced by columns:
// returns false (having drawn nothing) so that every sample is drawn instead.
bool KivSeriesRenderer::reduceXY(const Mapping &m)
{
    if (reduction == Reduction::Line)
        return reduceXYLine(m);
    forRange(0, v->count, 2, [&](const double *p, quint64 n, quint64) {
        for (quint64 k = 0; k < n; ++k, p += 2) {
            if (p[0] == Gap || p[1] == Gap)
                continue;
            for (int r = 0; r < 2; ++r) {
                mm[2 * r] = std::min(mm[2 * r], p[r]);
                mm[2 * r + 1] = std::max(mm[2 * r + 1], p[r]);
            }
            add((p[0] + m.ox) * m.sx, (p[1] + m.oy) * m.sy);
        }
    });
    return true;
}

// The current value of a reduced series, taken from the store directly.
void KivSeriesRenderer::findCurrent(const Mapping &m, int dims)
{
    const long current = v->scopeOffset;
    if (current < 0 || quint64(current) >= v->count)
        return;
    quint64 i = quint64(current);
    auto isGap = [dims](const double *p) { return p[0] == Gap || (dims > 1 && p[1] == Gap); };
    const double *p = sampleAt(i, dims);
    if (isGap(p)) {
        // A joined gap shows the last drawn sample before it.
        if (!join)
            return;
        do {
            if (i == 0)
                return;
            p = sampleAt(--i, dims);
        } while (isGap(p));
    }
    if (dims == 1)
        out->currentPosition = QPointF(m.slotX(double(i)), (p[0] + m.oy) * m.sy);
    else
        out->currentPosition = QPointF((p[0] + m.ox) * m.sx, (p[1] + m.oy) * m.sy);
    setCurrentText(p, dims);
    out->hasCurrent = true;
}

void KivSeriesRenderer::startReduction(int width, int height)
{
    switch (v->style & KivDataStyleShapeMask) {
    case KivDataStylePoints: reduction = Reduction::Points; break;
    case KivDataStyleBar: reduction = Reduction::Bars; break;
    default: reduction = Reduction::Line; break;
    }
    halfWidth = 0.5 * width;
    halfHeight = 0.5 * height;
    columns = width;
    rows = height;
    kept.clear();
    runs.clear();
    stripStarts.assign(1, 0);
    pendingTail.clear();
    pendingRun = ColumnRun{};
    emittedVertices = 0;
    emittedRuns = 0;
    chunkSamples = 0;
    pointSize = int(v->pixelRatio);
    if (reduction == Reduction::Points)
        rowColumn.assign(size_t(rows + pointSize) + 1, LONG_MIN);
}

// Offers one drawn point or bar (device coordinates) to the reduction.
void KivSeriesRenderer::add(double x, double y)
{
    const double px = (x + 1.0) * halfWidth;
    switch (reduction) {
    case Reduction::Line: // lines are reduced a column at a time
        return;
    case Reduction::Points: {
        // One point per square of lit pixels: a point k pixels wide lights the pixel centres
        // in (p - k / 2, p + k / 2] on each axis, the square whose last column and row hold
        // p + k / 2 - 1 / 2 (at one pixel, the pixel the point lies in). A point whose centre
        // leaves the viewport is clipped whole or in part: it is kept as it is and stands in
        // for no other.
        const double reach = 0.5 * double(pointSize - 1);
        const double py = (y + 1.0) * halfHeight;
        const double ax = px + reach;
        const double ay = py + reach;
        if (!(ax > -1.0 && ax < double(columns + pointSize) && ay > -1.0 && ay < double(rows + pointSize)))
            return;
        const double c = std::floor(ax);
        const double r = std::floor(ay);
        const double fx = ax - c;
        const double fy = ay - r;
        const bool inside = px > EdgeMargin && px < double(columns) - EdgeMargin && py > EdgeMargin
                            && py < double(rows) - EdgeMargin;
        if (inside && fx > EdgeMargin && fx < 1.0 - EdgeMargin && fy > EdgeMargin && fy < 1.0 - EdgeMargin) {
            long &lit = rowColumn[size_t(long(r) + 1)];
            if (lit == long(c))
                return;
            lit = long(c);
        }
        keep(x, y);
        return;
    }
    case Reduction::Bars: {
        // A bar narrower than a pixel lights only the pixel centres it covers, and no two
        // bars of a time series overlap: keep the bars that cover a column's centre.
        const double right = (x + barWidth + 1.0) * halfWidth;
        const double lo = std::ceil(px - EdgeMargin - 0.5);
        const double hi = std::floor(right + EdgeMargin - 0.5);
        if (lo <= hi && hi >= 0.0 && lo < double(columns))
            keep(x, y);
        return;
    }
    }
}

void KivSeriesRenderer::keep(double x, double y)
{
    kept.push_back(x);
    kept.push_back(y);
}

void KivSeriesRenderer::breakStrip()
{
    flushPendingTail();
    startStrip();
}

void KivSeriesRenderer::startStrip()
{
    const size_t at = kept.size() / 2;
    if (stripStarts.back() != at)
        stripStarts.push_back(at);
}

// Where four runs fill the columns of one 4-pixel block column, the rows they share.
bool KivSeriesRenderer::sharedRows(size_t k, size_t to, long &low, long &high) const
{
    const long column = runs[k].column;
    if (column % BlockColumns != 0 || k + BlockColumns > to)
        return false;
    low = LONG_MIN;
    high = LONG_MAX;
    for (long c = 0; c < BlockColumns; ++c) {
        const ColumnRun &r = runs[k + size_t(c)];
        if (r.column != column + c)
            return false;
        low = std::max(low, r.low);
        high = std::min(high, r.high);
    }
    return high - low + 1 >= MinSharedRows;
}

// The runs of lit pixels, within a GL_LINES batch: each a vertical segment through the pixel
// centres, from a quarter into its first pixel to a quarter into the pixel above its last.
// Under the diamond-exit rule it lights exactly the run. The rows that four runs of a block
// column share are left to emitSharedRuns(); returns whether there are any.
bool KivSeriesRenderer::emitRuns(size_t from, size_t to) const
{
    bool shared = false;
    auto segment = [&](long column, long low, long high) {
        const double x = (double(column) + 0.5) / halfWidth - 1.0;
        glVertex2d(x, (double(low) + 0.25) / halfHeight - 1.0);
        glVertex2d(x, (double(high + 1) + 0.25) / halfHeight - 1.0);
    };
    for (size_t k = from; k < to;) {
        long low, high;
        if (!sharedRows(k, to, low, high)) {
            segment(runs[k].column, runs[k].low, runs[k].high);
            ++k;
            continue;
        }
        for (size_t e = k + BlockColumns; k < e; ++k) {
            const ColumnRun &r = runs[k];
            if (r.low < low)
                segment(r.column, r.low, low - 1);
            if (r.high > high)
                segment(r.column, high + 1, r.high);
        }
        shared = true;
    }
    return shared;
}

// The rows shared by four runs of a block column, as one rectangle on pixel edges in a
// GL_QUADS batch of its own: it lights the same pixels as the four segments, in whole 4 x 4
// blocks where a software rasteriser shades a thin line a pixel column at a time.
void KivSeriesRenderer::emitSharedRuns(size_t from, size_t to) const
{
    beginPrimitive(GL_QUADS);
    for (size_t k = from; k < to;) {
        long low, high;
        if (!sharedRows(k, to, low, high)) {
            ++k;
            continue;
        }
        const double x0 = double(runs[k].column) / halfWidth - 1.0;
        const double x1 = double(runs[k].column + BlockColumns) / halfWidth - 1.0;
        const double y0 = double(low) / halfHeight - 1.0;
        const double y1 = double(high + 1) / halfHeight - 1.0;
        glVertex2d(x0, y0);
        glVertex2d(x1, y0);
        glVertex2d(x1, y1);
        glVertex2d(x0, y1);
        k += BlockColumns;
    }
    glEnd();
}

// What the reduction kept from vertex `vertexFrom` on (for a line, the segments that end
// there or later) and runs `runFrom` .. `runTo` - 1.
void KivSeriesRenderer::emitReduced(const Mapping &m, size_t vertexFrom, size_t runFrom, size_t runTo) const
{
    const size_t n = kept.size() / 2;
    const double *p = kept.data();
    switch (reduction) {
    case Reduction::Line: {
        // One batch of separate segments: a strip lights the same pixels segment by segment.
        beginPrimitive(GL_LINES);
        const size_t from = std::max<size_t>(vertexFrom, 1);
        auto start = std::lower_bound(stripStarts.begin(), stripStarts.end(), from);
        for (size_t k = from; k < n; ++k) {
            if (start != stripStarts.end() && *start == k) {
                ++start;
                continue;
            }
            glVertex2d(p[2 * k - 2], p[2 * k - 1]);
            glVertex2d(p[2 * k], p[2 * k + 1]);
        }
        const bool shared = emitRuns(runFrom, runTo);
        glEnd();
        if (shared)
            emitSharedRuns(runFrom, runTo);
        break;
    }
    case Reduction::Points:
        if (n > vertexFrom) {
            beginPrimitive(GL_POINTS);
            for (size_t k = vertexFrom; k < n; ++k)
                glVertex2d(p[2 * k], p[2 * k + 1]);
            glEnd();
        }
        if (runTo > runFrom) {
            beginPrimitive(GL_LINES);
            const bool shared = emitRuns(runFrom, runTo);
            glEnd();
            if (shared)
                emitSharedRuns(runFrom, runTo);
        }
        break;
    case Reduction::Bars: {
        if (n <= vertexFrom)
            break;
        const double base = m.oy * m.sy;
        beginPrimitive(GL_QUADS);
        for (size_t k = vertexFrom; k < n; ++k)
            emitBar(p[2 * k], p[2 * k + 1], base, barWidth);
        glEnd();
        break;
    }
    }
}

// `holdLast`: the last run may still grow over the segments across its right edge.
void KivSeriesRenderer::emitPending(const Mapping &m, bool holdLast)
{
    const size_t runTo = holdLast && !runs.empty() ? runs.size() - 1 : runs.size();
    emitReduced(m, emittedVertices, emittedRuns, runTo);
    emittedVertices = kept.size() / 2;
    emittedRuns = runTo;
}

// A long reduction hands what it has kept to the driver a chunk at a time, so that a
// software rasteriser draws it while the rest is reduced.
void KivSeriesRenderer::emitChunk(const Mapping &m, quint64 samples)
{
    chunkSamples += samples;
    const size_t pending = kept.size() / 2 - emittedVertices + runs.size() - emittedRuns;
    if (pending < ChunkPrimitives && (pending < MinChunkPrimitives || chunkSamples < ChunkSamples))
        return;
    emitPending(m, true);
    glFlush();
    chunkSamples = 0;
}
