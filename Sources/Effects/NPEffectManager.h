// The ordered list of the user's effects, and their persistence in the user defaults.
//
// The key "NPEffectGroups" holds an array with one settings dictionary per group. Every effective change of
// any group's settings saves them all. The list is never empty. Main thread only.
#pragma once

#include "Effects/NPEffectGroup.h"
#include "Platform/NPUserDefaults.h"

#include <memory>
#include <vector>

// Posted with the manager as object when a group has come into the list or gone from it, after that has been saved.
inline constexpr std::string_view NPEffectManagerGroupsDidChangeNotification =
    "NPEffectManagerGroupsDidChangeNotification";

inline constexpr std::string_view NPEffectGroupsKey = "NPEffectGroups";

using NPEffectGroupList = std::vector<std::shared_ptr<NPEffectGroup>>;

class NPEffectManager {
public:
    // Loads the stored groups. What is not a dictionary is skipped; when nothing is left the list gets one
    // new group named with the localized "Default Effect", which is first saved by the next change.
    NPEffectManager(NPUserDefaults& defaults, const NPEffectEnvironment& environment);

    // Whether loading found no group and made the default one.
    bool createdFirstEffectOnInitialization() const { return _createdFirstEffectOnInitialization; }

    const NPEffectGroupList& groups() const { return _groups; }

    // The first group with that identifier, or nullptr.
    std::shared_ptr<NPEffectGroup> groupWithIdentifier(std::string_view identifier) const;

    std::shared_ptr<NPEffectGroup> addNewGroup();
    std::shared_ptr<NPEffectGroup> duplicateGroupAtIndex(std::size_t index); // placed right after it
    std::shared_ptr<NPEffectGroup> addGroupWithDictionary(QXDictionary settings);

    // Stops the program when it is the last one ("_groups.count > 1").
    std::shared_ptr<NPEffectGroup> removeGroupAtIndex(std::size_t index);

    bool hasGroupWithEffectSelected() const;
    void saveGroups();

private:
    void _loadGroups();
    void _postGroupsDidChange();

    NPUserDefaults& _defaults;
    NPEffectEnvironment _environment;
    NPEffectGroupList _groups;
    bool _createdFirstEffectOnInitialization = false;
    QXNotificationObserver _observer;
};

std::shared_ptr<NPEffectManager> sharedEffectManager();
