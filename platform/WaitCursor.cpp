#include "platform/WaitCursor.h"

#include <QCursor>
#include <QGuiApplication>

WaitCursor::WaitCursor()
{
    if (qGuiApp)
        QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
}

WaitCursor::~WaitCursor()
{
    if (qGuiApp)
        QGuiApplication::restoreOverrideCursor();
}
