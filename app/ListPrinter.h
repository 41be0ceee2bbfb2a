// A record list laid out on paper: the columns shown on screen (widths in
// the same proportions, each row in its quality colour), a header with the
// store name, the list and the date on every page, and "Page n of m" at the
// foot. Paints onto any paged device: the printer, the print preview, or a
// PDF writer (what the tests read back).
#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <QVector>

class QAbstractItemModel;
class QPagedPaintDevice;

struct PrintedList {
    QString storeName;
    QString listName;
    QString date;
    QStringList titles;       // the visible columns
    QVector<int> widths;      // their widths on screen, in pixels
    QVector<QStringList> rows;
    QVector<QColor> colours;  // per row; black when missing
};

class ListPrinter {
public:
    // The visible columns (all but the last `hiddenColumns`) of a record
    // list model, with its colours.
    static PrintedList fromModel(const QAbstractItemModel& model, const QVector<int>& widths, int hiddenColumns);

    // How many pages the list takes on device.
    static int pageCount(const PrintedList& list, QPagedPaintDevice* device);
    // Paints every page; the device's first page must be fresh. Returns the
    // number of pages, 0 when the device cannot be painted on.
    static int print(const PrintedList& list, QPagedPaintDevice* device);
};
