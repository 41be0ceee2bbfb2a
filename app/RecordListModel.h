// The record list's model: a table over the rows SearchLog found. Cells are
// cut from the lines only when the view asks for them, so a list of 100,000
// records fills at once.
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QIcon>

#include "maker/Ek7Srch/SearchLogRows.h"

class RecordListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit RecordListModel(QObject* parent = nullptr);

    // The text colour of a recording quality; anything but 1 to 3 is drawn
    // as quality 0.
    static QColor qualityColour(int quality);

    // Replaces the rows (one reset for the whole list) and the headers.
    void setRows(SearchLogRows rows, int listType);
    void clear();

    const SearchLogRows& rows() const { return m_rows; }
    int listType() const { return m_listType; }
    // Rows shown with the new-message image (phone rows only).
    int newMessageCount() const;
    static int newMessageCount(const SearchLogRows& rows);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    SearchLogRows m_rows;
    int m_listType = 0;
    QIcon m_newMessage;
    QIcon m_message;
    QIcon m_record;
};
