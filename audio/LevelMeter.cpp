#include "audio/LevelMeter.h"

#include "audio/RecordingFlags.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kBarHeight = 12;
constexpr int kGap = 4;
constexpr int kCaption = 14;

}  // namespace

LevelMeter::LevelMeter(QWidget* parent) : QWidget(parent), m_flags(&theRecordingFlags())
{
    setAccessibleName(QStringLiteral("Recording level"));
    m_timer.setInterval(kPollMs);
    connect(&m_timer, &QTimer::timeout, this, &LevelMeter::poll);
    m_timer.start();
}

void LevelMeter::follow(RecordingFlags& flags)
{
    m_flags = &flags;
    poll();
}

void LevelMeter::poll()
{
    int left = m_left;
    int right = m_right;
    if (m_flags->LevelUpdated == 1) {
        left = m_flags->LeftLevel;
        right = m_flags->RightLevel;
        m_flags->LevelUpdated = 0;
    }
    if (m_flags->LevelMeterOn == 0) {
        left = 0;
        right = 0;
    }
    left = std::clamp(left, 0, 99);
    right = std::clamp(right, 0, 99);
    if (left != m_left || right != m_right) {
        m_left = left;
        m_right = right;
        update();
    }
}

QSize LevelMeter::sizeHint() const { return {240, 2 * kBarHeight + kGap + 4}; }

QSize LevelMeter::minimumSizeHint() const { return {80, 2 * kBarHeight + kGap + 4}; }

void LevelMeter::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const int width = std::max(1, this->width() - kCaption - 2);
    const int levels[2] = {m_left, m_right};
    const char* captions[2] = {"L", "R"};
    QLinearGradient gradient(kCaption, 0, kCaption + width, 0);
    gradient.setColorAt(0.0, QColor(0, 170, 0));
    gradient.setColorAt(0.7, QColor(230, 210, 0));
    gradient.setColorAt(1.0, QColor(220, 0, 0));
    for (int i = 0; i < 2; ++i) {
        const int y = 2 + i * (kBarHeight + kGap);
        const QRect trough(kCaption, y, width, kBarHeight);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRect(0, y, kCaption, kBarHeight), Qt::AlignCenter, QString::fromLatin1(captions[i]));
        painter.fillRect(trough, palette().color(QPalette::Base));
        painter.fillRect(QRect(kCaption, y, width * levels[i] / 99, kBarHeight), gradient);
        painter.setPen(palette().color(QPalette::Mid));
        painter.drawRect(trough.adjusted(0, 0, -1, -1));
    }
}
