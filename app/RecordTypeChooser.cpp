#include "app/RecordTypeChooser.h"

#include <QListWidget>

#include "core/AppData.h"

namespace {

const char* const kLineStateIcons[] = {":/res/images/line-closed.png", ":/res/images/line-monitoring.png",
                                       ":/res/images/line-monitoring-new.png", ":/res/images/line-answering.png",
                                       ":/res/images/line-answering-new.png"};
constexpr int kPhoneItem = 4;
constexpr int kRepositoryItem = 7;
const QColor kChooserBackground(122, 153, 215);

struct TypeItem {
    const char* name;
    const char* icon;
};
// The order of the record-type chooser; a click maps position to list type.
const TypeItem kRecordTypes[] = {
    {"Dictation", ":/res/images/type-dictation.png"}, {"Video", ":/res/images/type-video.png"},
    {"Meeting", ":/res/images/type-meeting.png"},     {"Translate", ":/res/images/type-translate.png"},
    {"Phone", ":/res/images/type-phone.png"},         {"Diary", ":/res/images/type-diary.png"},
};

}  // namespace

void RecordTypeChooser::build()
{
    QPalette palette = m_list->palette();
    palette.setColor(QPalette::Base, kChooserBackground);
    palette.setColor(QPalette::Window, kChooserBackground);
    palette.setColor(QPalette::Text, Qt::white);
    m_list->setPalette(palette);
    m_list->setAutoFillBackground(true);
    m_list->setGridSize(QSize(100, 80));
    m_list->clear();
    for (const TypeItem& type : kRecordTypes) {
        auto* item = new QListWidgetItem(QIcon(QString::fromLatin1(type.icon)), QString::fromLatin1(type.name), m_list);
        item->setForeground(Qt::white);
        item->setTextAlignment(Qt::AlignHCenter | Qt::AlignTop);
        // The whole grid cell answers a click, not just the picture and name.
        item->setSizeHint(QSize(100, 80));
    }
}

void RecordTypeChooser::showLineState(recordlists::LineState state)
{
    QListWidgetItem* phone = m_list->item(kPhoneItem);
    if (!phone)
        return;
    // Made once: a new icon for every call would leave its pixmap in Qt's
    // pixmap cache, and the cache grows call after call up to its limit.
    if (m_lineStateIcons.empty())
        for (const char* file : kLineStateIcons)
            m_lineStateIcons.emplace_back(QString::fromLatin1(file));
    phone->setIcon(m_lineStateIcons.at(static_cast<std::size_t>(state)));
}

RecordTypeChooser::Choice RecordTypeChooser::clicked(QListWidgetItem* item) const
{
    Choice choice;
    if (!item || m_list->currentItem() != item || !item->isSelected())
        return choice;
    const int position = m_list->row(item);
    choice.repository = position == kRepositoryItem;
    if (!choice.repository)
        choice.listType = recordlists::listTypeAtChooserPosition(position);
    return choice;
}
