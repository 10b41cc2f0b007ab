#include "gridsplitterhandle.h"

#include "gridsplitter.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>

GridSplitterHandle::GridSplitterHandle(int row, int column, GridSplitter* splitter)
    : QWidget(splitter)
    , m_splitter(splitter)
    , m_row(row)
    , m_column(column)
{
    if (row >= 0 && column >= 0)
        setCursor(Qt::SizeAllCursor);
    else if (column >= 0)
        setCursor(Qt::SplitHCursor);
    else
        setCursor(Qt::SplitVCursor);
    // Repaint on enter and leave so the style can highlight the handle under the mouse.
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_MouseNoMask);
}

void GridSplitterHandle::paintEvent(QPaintEvent*)
{
    if (m_row >= 0 && m_column >= 0)
        return;
    QPainter painter(this);
    QStyleOption opt;
    opt.rect = contentsRect();
    opt.palette = palette();
    // Same convention as QSplitterHandle: "horizontal" is a handle between side-by-side cells.
    opt.state = m_column >= 0 ? QStyle::State_Horizontal : QStyle::State_None;
    if (underMouse() || m_pressed)
        opt.state |= QStyle::State_MouseOver;
    if (m_pressed)
        opt.state |= QStyle::State_Sunken;
    if (isEnabled())
        opt.state |= QStyle::State_Enabled;
    style()->drawControl(QStyle::CE_Splitter, &opt, &painter, m_splitter);
}

void GridSplitterHandle::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_pressed = true;
    m_splitter->startDrag(m_row, m_column, mapToParent(event->pos()));
    update();
}

void GridSplitterHandle::mouseMoveEvent(QMouseEvent* event)
{
    if (m_pressed && (event->buttons() & Qt::LeftButton))
        m_splitter->dragTo(mapToParent(event->pos()));
}

void GridSplitterHandle::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_pressed)
        return;
    m_splitter->dragTo(mapToParent(event->pos()));
    m_pressed = false;
    update();
}
