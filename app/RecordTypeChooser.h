// The record-type chooser beside the record list: six types in a fixed
// order, white on blue, and the Phone item's line-state picture. The main
// window owns the list widget; this fills it and reads its clicks.
#pragma once

#include <QIcon>
#include <vector>

#include "app/RecordLists.h"

class QListWidget;
class QListWidgetItem;

class RecordTypeChooser {
public:
    // What a click chose.
    struct Choice {
        int listType = 0;         // kListNone when no list
        bool repository = false;  // the Internet Repository item
    };

    explicit RecordTypeChooser(QListWidget* list) : m_list(list) {}

    void build();
    // The Phone item's picture; nothing before build().
    void showLineState(recordlists::LineState state);
    // A click counts only on the current, selected item.
    Choice clicked(QListWidgetItem* item) const;

private:
    QListWidget* m_list;
    std::vector<QIcon> m_lineStateIcons;
};
