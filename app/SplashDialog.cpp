#include "app/SplashDialog.h"

#include <QPainter>
#include <QTimerEvent>

#include "res/resource.h"

namespace {
constexpr int kWidth = 785;
constexpr int kHeight = 579;
}  // namespace

SplashDialog::SplashDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint),
      m_picture(QStringLiteral(":/res/images/splash.png")),
      m_icon(QStringLiteral(":/res/images/navo.png"))
{
    setObjectName(QString::number(IDD_SPLASH));
    setWindowTitle(QStringLiteral("Navo"));
    setWindowIcon(m_icon);
    setFixedSize(kWidth, kHeight);
    m_timer = startTimer(kShowMs, Qt::PreciseTimer);
}

void SplashDialog::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (isMinimized())
        painter.drawPixmap(0, 0, m_icon);
    else
        painter.drawPixmap(0, 0, kWidth, kHeight, m_picture);
}

void SplashDialog::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_timer)
        return QDialog::timerEvent(event);
    killTimer(m_timer);
    m_timer = 0;
    accept();
}
