// Resource numbers by name, for widgets built from dialog layouts.
//
// Layouts name each widget after its constant in res/resource.h
// ("IDC_RECORD_LIST"); after setupUi a dialog calls assignControlNumbers(this)
// and every such widget is renamed to its number ("10002") and carries the
// number as the dynamic property "controlId". Code and tests then find a
// control by number with findChild<QWidget*>("10002"), whatever the layout.
#pragma once

#include <cstddef>
#include <string_view>

class QWidget;

struct ResourceName {
    std::string_view name;
    int number;
};

class ResourceIds {
public:
    static constexpr const char* kControlIdProperty = "controlId";

    // Every name of res/resource.h with its number, in the list's order.
    static const ResourceName* begin();
    static const ResourceName* end();
    static std::size_t size();

    // The number of a constant, or -1 when the name is not a constant.
    static int number(std::string_view name);

    // Renames root and every object below it whose objectName is a constant.
    // Returns how many objects were renamed.
    static int assign(QWidget* root);
};

int controlNumber(std::string_view name);
void assignControlNumbers(QWidget* root);
