#ifndef KIV_TEST_GLFEEDBACK_H
#define KIV_TEST_GLFEEDBACK_H

// Test helpers: a current GL context without a window, and OpenGL feedback-mode capture of
// the primitives a piece of drawing code emits.

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QtGlobal>
#include <GL/gl.h>

#include <functional>
#include <memory>
#include <vector>

namespace kivtest {

// A compatibility-profile context made current on an offscreen surface, viewport w x h.
class GLContextScope
{
public:
    explicit GLContextScope(int w = 200, int h = 200)
    {
        surface.create();
        context.create();
        context.makeCurrent(&surface);
        glViewport(0, 0, w, h);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
    }
    ~GLContextScope() { context.doneCurrent(); }
    bool isValid() const { return context.isValid() && QOpenGLContext::currentContext() == &context; }

    QOffscreenSurface surface;
    QOpenGLContext context;
};

// One primitive as feedback mode reports it. Vertices are in window coordinates
// (pixels, origin bottom left); ndc() converts back to -1..1 for a w x h viewport.
struct Primitive
{
    enum Type { Point, Line, LineReset, Polygon, Unknown };
    Type type = Unknown;
    std::vector<GLfloat> xy; // x0, y0, x1, y1, ...
    int vertexCount() const { return int(xy.size() / 2); }
    double x(int i) const { return xy[size_t(2 * i)]; }
    double y(int i) const { return xy[size_t(2 * i + 1)]; }
};

// Runs `draw` in feedback mode (GL_2D: positions only) and returns the primitives.
// Lines come back as segments. The first segment of a strip is usually a LineReset token,
// but Mesa may report a new strip as a plain Line token: tell strips apart by whether
// consecutive segments share their end points, not by the token alone.
inline std::vector<Primitive> captureFeedback(const std::function<void()>& draw, size_t capacity = 1 << 20)
{
    std::vector<GLfloat> buffer(capacity);
    glFeedbackBuffer(GLsizei(buffer.size()), GL_2D, buffer.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    GLint n = glRenderMode(GL_RENDER);
    std::vector<Primitive> out;
    if (n < 0)
        return out;
    for (GLint i = 0; i < n;) {
        Primitive p;
        const GLint token = GLint(buffer[size_t(i++)]);
        int count = 0;
        switch (token) {
        case GL_POINT_TOKEN: p.type = Primitive::Point; count = 1; break;
        case GL_LINE_TOKEN: p.type = Primitive::Line; count = 2; break;
        case GL_LINE_RESET_TOKEN: p.type = Primitive::LineReset; count = 2; break;
        case GL_POLYGON_TOKEN: p.type = Primitive::Polygon; count = GLint(buffer[size_t(i++)]); break;
        case GL_PASS_THROUGH_TOKEN: ++i; continue;
        default: return out; // bitmap/pixel tokens are not used by the tests
        }
        for (int k = 0; k < 2 * count; ++k)
            p.xy.push_back(buffer[size_t(i++)]);
        out.push_back(std::move(p));
    }
    return out;
}

// Window coordinate to normalised device coordinate for a viewport of `size` pixels.
inline double toNdc(double window, int size) { return window / size * 2.0 - 1.0; }

} // namespace kivtest

#endif // KIV_TEST_GLFEEDBACK_H
