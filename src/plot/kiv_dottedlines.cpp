#include "kiv_dottedlines_p.h"

#include <QHash>
#include <QObject>
#include <QOpenGLContext>

#include <GL/gl.h>

namespace {

// The pattern's texture in the current context, made on first use and dropped with the context.
GLuint patternTexture(quint16 pattern)
{
    static QHash<QPair<QOpenGLContext *, quint16>, GLuint> textures;
    QOpenGLContext *context = QOpenGLContext::currentContext();
    const QPair<QOpenGLContext *, quint16> key(context, pattern);
    const auto found = textures.constFind(key);
    if (found != textures.constEnd())
        return found.value();

    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_1D, texture);
    GLubyte alpha[16];
    for (int i = 0; i < 16; ++i)
        alpha[i] = (pattern >> i) & 1 ? 255 : 0;
    glTexImage1D(GL_TEXTURE_1D, 0, GL_ALPHA, 16, 0, GL_ALPHA, GL_UNSIGNED_BYTE, alpha);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    textures.insert(key, texture);
    // The context deletes its textures itself; only the entry must go.
    QObject::connect(context, &QOpenGLContext::aboutToBeDestroyed, [key] { textures.remove(key); });
    return texture;
}

} // namespace

KivDottedLines::KivDottedLines(int factor, quint16 pattern)
{
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    const double length = 16.0 * qMax(factor, 1);
    m_horizontalRepeats = viewport[2] / length;
    m_verticalRepeats = viewport[3] / length;
    glBindTexture(GL_TEXTURE_1D, patternTexture(pattern));
    glEnable(GL_TEXTURE_1D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.5f);
    glBegin(GL_LINES);
}

KivDottedLines::~KivDottedLines()
{
    glEnd();
    // Back to GL's defaults, which the text layer and subclasses drawing after the grid expect.
    glAlphaFunc(GL_ALWAYS, 0.0f);
    glDisable(GL_ALPHA_TEST);
    glDisable(GL_TEXTURE_1D);
    glBindTexture(GL_TEXTURE_1D, 0);
}

void KivDottedLines::vertical(double x) const
{
    glTexCoord1d(0.0);
    glVertex2d(x, -1.0);
    glTexCoord1d(m_verticalRepeats);
    glVertex2d(x, 1.0);
}

void KivDottedLines::horizontal(double y) const
{
    glTexCoord1d(0.0);
    glVertex2d(-1.0, y);
    glTexCoord1d(m_horizontalRepeats);
    glVertex2d(1.0, y);
}
