// The phone book's list as a model over the loaded entries: columns Name,
// Number and the untitled hidden offset ("%020d"), one icon on the name.
// The entries stay in the program's code page; text is made only for the
// rows a view asks for, so 5000 entries list as fast as they load.
#pragma once

#include <QAbstractTableModel>
#include <QIcon>

#include <vector>

#include "telephony/PhoneBook.h"

class PhoneBookModel : public QAbstractTableModel {
public:
    enum Column { kName = 0, kNumber = 1, kOffset = 2 };

    explicit PhoneBookModel(QObject* parent = nullptr);

    void setEntries(std::vector<PhoneBookEntry> entries);
    const PhoneBookEntry& entry(int row) const { return m_entries[static_cast<std::size_t>(row)]; }
    // The first row, from the top, whose name starts with text (any case);
    // -1 when none does.
    int findName(const QString& text) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // By the column's text without regard to case; equal texts keep their
    // order, so the offsets stay with their entries.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    QString text(const PhoneBookEntry& entry, int column) const;

    std::vector<PhoneBookEntry> m_entries;
    QIcon m_icon;
};
