// The handle table behind handleOf/PostMessage, and registered message names.
//
// Why destruction is safe: each registered object's destroyed() signal (sent
// from ~QObject on the destroying thread, before Qt drops the object's posted
// events) removes its handle under the same mutex that PostMessage holds while
// it posts. So a post either completes before the handle dies, and Qt then
// discards the event with the object, or finds no handle. The QPointer beside
// each entry covers an object whose connections were all cut by a blanket
// disconnect().
#include "platform/WindowMessages.h"

#include "platform/Codepage.h"

#include <QCoreApplication>
#include <QObject>
#include <QPointer>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

struct Entry {
    QObject* object;
    QPointer<QObject> alive;
};

struct HandleTable {
    std::mutex mutex;
    std::unordered_map<HWND, Entry> byHandle;
    std::unordered_map<QObject*, HWND> byObject;
    HWND lastHandle = 0;

    void forget(HWND handle)  // with mutex held
    {
        const auto it = byHandle.find(handle);
        if (it == byHandle.end())
            return;
        const auto back = byObject.find(it->second.object);
        if (back != byObject.end() && back->second == handle)
            byObject.erase(back);
        byHandle.erase(it);
    }
};

HandleTable& handles()
{
    static HandleTable table;
    return table;
}

}  // namespace

WindowMessageEvent::WindowMessageEvent(UINT message, WPARAM wParam, LPARAM lParam)
    : QEvent(eventType()), m_message(message), m_wParam(wParam), m_lParam(lParam)
{
}

QEvent::Type WindowMessageEvent::eventType()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

HWND handleOf(QObject* receiver)
{
    if (receiver == nullptr)
        return 0;
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    const auto found = table.byObject.find(receiver);
    if (found != table.byObject.end()) {
        if (!table.byHandle.at(found->second).alive.isNull())
            return found->second;
        table.forget(found->second);  // a new object at a dead one's address
    }
    const HWND handle = ++table.lastHandle;
    table.byHandle.emplace(handle, Entry{receiver, QPointer<QObject>(receiver)});
    table.byObject.emplace(receiver, handle);
    QObject::connect(receiver, &QObject::destroyed, [handle] {
        HandleTable& t = handles();
        std::lock_guard<std::mutex> guard(t.mutex);
        t.forget(handle);
    });
    return handle;
}

BOOL PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (window == 0)
        return FALSE;
    HandleTable& table = handles();
    std::lock_guard<std::mutex> lock(table.mutex);
    const auto it = table.byHandle.find(window);
    if (it == table.byHandle.end())
        return FALSE;
    if (it->second.alive.isNull()) {
        table.forget(window);
        return FALSE;
    }
    QCoreApplication::postEvent(it->second.object, new WindowMessageEvent(message, wParam, lParam));
    return TRUE;
}

UINT RegisterWindowMessageA(const char* name)
{
    if (name == nullptr || *name == '\0')
        return 0;
    static std::mutex mutex;
    static std::vector<std::string> names;  // message 0xC000 + i is names[i]
    std::lock_guard<std::mutex> lock(mutex);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (equalsIgnoreCaseAnsi(names[i], name))
            return static_cast<UINT>(0xC000 + i);
    }
    if (names.size() >= 0x4000)  // the range is full, as Windows' atom table would be
        return 0;
    names.emplace_back(name);
    return static_cast<UINT>(0xC000 + names.size() - 1);
}
