// Printing a record list from a window: the list as the user sees it, shown
// in Qt's print preview, whose Print button opens the print dialog. Without
// a printer the output is a PDF file (named after the list, in the home
// folder, changeable in the dialog).
#pragma once

#include "app/ListPrinter.h"

class QWidget;
class RecordListModel;
class QTreeView;
struct AppData;

namespace listprinting {

// The rows of model with the widths the view shows, the header texts from
// the store and the list.
PrintedList describe(const AppData& app, const RecordListModel& model, const QTreeView& view, const QString& listName);

// Print preview of list (modal); returns when it closes.
void preview(QWidget* parent, const PrintedList& list);

}  // namespace listprinting
