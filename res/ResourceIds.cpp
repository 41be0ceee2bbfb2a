#include "res/ResourceIds.h"

#include "res/resource.h"

#include <QObject>
#include <QString>
#include <QVariant>
#include <QWidget>

#include <iterator>
#include <string>
#include <unordered_map>

namespace {

#define NAVO_RESOURCE_NAME(name, number) {#name, number},
const ResourceName kNames[] = {NAVO_RESOURCE_IDS(NAVO_RESOURCE_NAME)};
#undef NAVO_RESOURCE_NAME

// Built once; a duplicate name cannot reach here because the enum in
// resource.h would not compile.
const std::unordered_map<std::string_view, int>& nameIndex()
{
    static const std::unordered_map<std::string_view, int> index = [] {
        std::unordered_map<std::string_view, int> m;
        m.reserve(std::size(kNames));
        for (const ResourceName& r : kNames)
            m.emplace(r.name, r.number);
        return m;
    }();
    return index;
}

bool renameIfConstant(QObject* object)
{
    const QByteArray name = object->objectName().toUtf8();
    const int number = ResourceIds::number(std::string_view(name.constData(), std::size_t(name.size())));
    if (number < 0)
        return false;
    object->setObjectName(QString::number(number));
    object->setProperty(ResourceIds::kControlIdProperty, number);
    return true;
}

}  // namespace

const ResourceName* ResourceIds::begin()
{
    return std::begin(kNames);
}

const ResourceName* ResourceIds::end()
{
    return std::end(kNames);
}

std::size_t ResourceIds::size()
{
    return std::size(kNames);
}

int ResourceIds::number(std::string_view name)
{
    const auto& index = nameIndex();
    const auto it = index.find(name);
    return it == index.end() ? -1 : it->second;
}

int ResourceIds::assign(QWidget* root)
{
    if (root == nullptr)
        return 0;
    const QList<QObject*> below = root->findChildren<QObject*>();
    int renamed = renameIfConstant(root) ? 1 : 0;
    for (QObject* object : below)
        renamed += renameIfConstant(object) ? 1 : 0;
    return renamed;
}

int controlNumber(std::string_view name)
{
    return ResourceIds::number(name);
}

void assignControlNumbers(QWidget* root)
{
    ResourceIds::assign(root);
}
