#include "Effects/NPEffectManager.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"
#include "Platform/NPPlatform.h"

#include <algorithm>

NPEffectManager::NPEffectManager(NPUserDefaults& defaults, const NPEffectEnvironment& environment)
    : _defaults(defaults), _environment(environment)
{
    _loadGroups();
    if (_groups.empty()) {
        _groups.push_back(std::make_shared<NPEffectGroup>(_environment));
        _groups.back()->setName(QXLocalizedString("Default Effect"));
        _createdFirstEffectOnInitialization = true;
    }
    // Last, so that naming the default group saves nothing.
    environment.notifications.addObserver(_observer, std::string(NPEffectGroupDidChangeNotification), nullptr,
                                          [this](const QXNotification&) { saveGroups(); });
}

void NPEffectManager::_loadGroups()
{
    const QXArray stored = _defaults.arrayForKey(NPEffectGroupsKey).value_or(QXArray());
    for (const QXValue& settings : stored) {
        if (const QXDictionary* dictionary = settings.dictionary()) {
            _groups.push_back(std::make_shared<NPEffectGroup>(_environment, *dictionary, false));
        }
    }
}

std::shared_ptr<NPEffectGroup> NPEffectManager::groupWithIdentifier(std::string_view identifier) const
{
    const auto found = std::ranges::find_if(
        _groups, [&](const std::shared_ptr<NPEffectGroup>& group) { return group->identifier() == identifier; });
    return found == _groups.end() ? nullptr : *found;
}

std::shared_ptr<NPEffectGroup> NPEffectManager::addNewGroup()
{
    auto group = std::make_shared<NPEffectGroup>(_environment);
    _groups.push_back(group);
    group->setName(QXLocalizedString("New Effect")); // the announcement saves, the new group included
    _postGroupsDidChange();
    return group;
}

std::shared_ptr<NPEffectGroup> NPEffectManager::duplicateGroupAtIndex(std::size_t index)
{
    const std::shared_ptr<NPEffectGroup> original = _groups.at(index);
    auto group = std::make_shared<NPEffectGroup>(_environment, *original->dictionary().dictionary(), true);
    _groups.insert(_groups.begin() + static_cast<std::ptrdiff_t>(index) + 1, group);
    group->setName(QXFormat(QXLocalizedString("%@ copy"), {original->name()}));
    _postGroupsDidChange();
    return group;
}

std::shared_ptr<NPEffectGroup> NPEffectManager::addGroupWithDictionary(QXDictionary settings)
{
    auto group = std::make_shared<NPEffectGroup>(_environment, std::move(settings), true);
    _groups.push_back(group);
    saveGroups();
    _postGroupsDidChange();
    return group;
}

std::shared_ptr<NPEffectGroup> NPEffectManager::removeGroupAtIndex(std::size_t index)
{
    QXAssert(_groups.size() > 1, "_groups.count > 1");
    const std::shared_ptr<NPEffectGroup> group = _groups.at(index);
    _groups.erase(_groups.begin() + static_cast<std::ptrdiff_t>(index));
    saveGroups();
    _postGroupsDidChange();
    return group;
}

bool NPEffectManager::hasGroupWithEffectSelected() const
{
    return std::ranges::any_of(_groups, &NPEffectGroup::hasEffectSelected);
}

void NPEffectManager::saveGroups()
{
    QXArray dictionaries;
    dictionaries.reserve(_groups.size());
    for (const std::shared_ptr<NPEffectGroup>& group : _groups) {
        dictionaries.push_back(group->dictionary());
    }
    _defaults.setObject(std::move(dictionaries), NPEffectGroupsKey);
}

void NPEffectManager::_postGroupsDidChange()
{
    _environment.notifications.postNotification(NPEffectManagerGroupsDidChangeNotification, this);
}

std::shared_ptr<NPEffectManager> sharedEffectManager()
{
    return QXSharedScope::current().instance<NPEffectManager>([] {
        return std::make_shared<NPEffectManager>(NPCurrentPlatform().defaults, NPEffectEnvironment::current());
    });
}
