#include "ui/viewer/backgroundgl.h"

#include <GL/gl.h>

#include <algorithm>

namespace vorlen {

BackgroundGL::BackgroundGL() : __color(4) {
    const int sky[] = {85, 170, 255, 255};
    std::copy_n(sky, 4, __color.data());
}

void BackgroundGL::setColor(const Vector<int>& color) {
    __color.paste(0, color);
}

void BackgroundGL::glDraw() const {
    GLubyte color[4];
    for (int k = 0; k < 4; ++k)
        color[k] = GLubyte(std::clamp(__color[k], 0, 255));
    if (!__gradient) {
        glClearColor(GLfloat(color[0]) / 255, GLfloat(color[1]) / 255, GLfloat(color[2]) / 255,
                     GLfloat(color[3]) / 255);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        return;
    }
    glClear(GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glPushAttrib(GL_ENABLE_BIT | GL_DEPTH_BUFFER_BIT | GL_CURRENT_BIT);
    glDisable(GL_LIGHTING);
    glDepthMask(GL_FALSE);
    glBegin(GL_QUADS);
    glColor3ub(color[0] / 3, color[1] / 3, color[2] / 3);
    glVertex2i(-1, -1);
    glVertex2i(1, -1);
    glColor3ub(color[0], color[1], color[2]);
    glVertex2i(1, 1);
    glVertex2i(-1, 1);
    glEnd();
    glPopAttrib();
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
}

} // namespace vorlen
