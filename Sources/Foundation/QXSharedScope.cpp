#include "Foundation/QXSharedScope.h"

#include "Foundation/QXAssert.h"

namespace {

QXSharedScope*& currentScope()
{
    static QXSharedScope* scope = nullptr;
    return scope;
}

} // namespace

QXSharedScope::QXSharedScope() : _former(std::exchange(currentScope(), this)) {}

QXSharedScope::~QXSharedScope()
{
    while (!_objects.empty()) {
        // Taken out first: a destructor that looks itself up must not find half an object.
        const std::shared_ptr<void> last = std::move(_objects.back().second);
        _objects.pop_back();
    }
    currentScope() = _former;
}

QXSharedScope& QXSharedScope::current()
{
    QXAssert(currentScope() != nullptr, "QXSharedScope");
    return *currentScope();
}

std::shared_ptr<void> QXSharedScope::_find(std::type_index type) const
{
    for (const auto& [known, object] : _objects) {
        if (known == type) {
            return object;
        }
    }
    return nullptr;
}

void QXSharedScope::_add(std::type_index type, std::shared_ptr<void> object)
{
    _objects.emplace_back(type, std::move(object));
}
