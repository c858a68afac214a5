#include "Platform/Linux/NPControlBusTesting.h"

#include <set>

// The interface as other programs see it: dbus-send and dbus-monitor, which know nothing of Nightpane.

namespace {

using Lines = std::vector<std::string>;

class NPControlInterface : public NPControlBusTesting {
protected:
    NPControlInterface() { publish(); }

    // Calls a method of some interface with arguments in the form of dbus-send.
    std::string send(const std::string& method, const Lines& arguments = {})
    {
        Lines command{"dbus-send",
                      "--session",
                      "--print-reply",
                      "--dest=org.nightpane.Nightpane1",
                      "/org/nightpane/Nightpane1",
                      method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return outputOf(command);
    }

    std::string introspection() { return send("org.freedesktop.DBus.Introspectable.Introspect"); }

    // Turns the loop until the text has come out of the program.
    std::string outputUntil(NPTestProcess& program, const std::string& text)
    {
        return whileServing([&] { return program.outputUntil(text); });
    }
};

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// The value of an attribute of a tag, empty when it has none.
std::string attribute(const std::string& tag, const std::string& name)
{
    const std::size_t start = tag.find(' ' + name + "=\"");
    if (start == std::string::npos) {
        return {};
    }
    const std::size_t value = tag.find('"', start) + 1;
    return tag.substr(value, tag.find('"', value) - value);
}

// The members of our interface, one line each with all that belongs to it. Members are a set; the arguments
// of one have an order.
std::set<std::string> membersOf(const std::string& introspection)
{
    std::set<std::string> members;
    std::string member;
    bool isOurs = false;
    for (std::size_t at = 0; (at = introspection.find('<', at)) != std::string::npos; ++at) {
        if (introspection.compare(at, 4, "<!--") == 0) {
            at = introspection.find("-->", at);
            continue;
        }
        const std::string tag = introspection.substr(at, introspection.find('>', at) - at);
        const std::string element = tag.substr(1, tag.find_first_of(" />", 1) - 1);
        if (element == "interface") {
            isOurs = attribute(tag, "name") == "org.nightpane.Nightpane1";
        } else if (isOurs && (element == "method" || element == "signal" || element == "property")) {
            member = element + ' ' + attribute(tag, "name") + ' ' + attribute(tag, "type") + ' '
                     + attribute(tag, "access");
        } else if (isOurs && (element == "arg" || element == "annotation")) {
            member += ", " + attribute(tag, "direction") + ' ' + attribute(tag, "type") + ' '
                      + attribute(tag, "name") + ' ' + attribute(tag, "value");
        }
        const bool isPart = element == "arg" || element == "annotation";
        const bool endsMember = tag == "</method" || tag == "</signal" || tag == "</property";
        if (isOurs && !isPart && !member.empty() && (endsMember || tag.ends_with('/'))) {
            members.insert(std::exchange(member, {}));
        }
    }
    return members;
}

} // namespace

TEST_F(NPControlInterface, IsWhatItsDescriptionSays)
{
    const std::set<std::string> described = membersOf(contentOf(NP_TEST_INTERFACE_FILE));
    EXPECT_EQ(22u, described.size()); // 18 methods, 2 signals, 2 properties
    EXPECT_EQ(described, membersOf(introspection()));
}

TEST_F(NPControlInterface, TellsTypesOfValues)
{
    control.list = {QXDictionary{{"name", "Dusk"}, {"number", 1}, {"main", true}}};
    const std::string answer = send("org.nightpane.Nightpane1.Screens");
    EXPECT_EQ(1u, countOf(answer, "string \"Dusk\"")) << answer;
    EXPECT_EQ(1u, countOf(answer, "int64 1")) << answer;
    EXPECT_EQ(1u, countOf(answer, "boolean true")) << answer;
}

TEST_F(NPControlInterface, GivesTablesAsListsOfReals)
{
    control.dictionary = {{"red", QXArray{0.0, 0.5}}};
    const std::string answer = send("org.nightpane.Nightpane1.Table", {"string:1"});
    EXPECT_TRUE(answer.contains("double 0\n               double 0.5\n")) << answer;
    EXPECT_EQ(1u, countOf(answer, "variant")) << answer; // the list, and none in it
}

TEST_F(NPControlInterface, TakesSettingsFromAnyone)
{
    const std::string answer =
        send("org.nightpane.Nightpane1.AddEffect", {"string:Dusk", "dict:string:string:dim,30%,hue,20"});
    EXPECT_TRUE(answer.contains("string \"NEW\"")) << answer;
    EXPECT_EQ(Lines{"addEffect Dusk dim=30% hue=20"}, control.requests);
}

TEST_F(NPControlInterface, NamesMisuse)
{
    control.error = NPControlError{true, "'fast' is not a fade"};
    EXPECT_EQ("Error org.nightpane.Error.Misuse: 'fast' is not a fade\n",
              send("org.nightpane.Nightpane1.Activate", {"string:Dusk", "string:fast"}));
}

TEST_F(NPControlInterface, NamesFailure)
{
    control.error = NPControlError{false, "there is no effect 'Dusk'"};
    EXPECT_EQ("Error org.nightpane.Error.Failed: there is no effect 'Dusk'\n",
              send("org.nightpane.Nightpane1.RemoveEffect", {"string:Dusk"}));
}

TEST_F(NPControlInterface, RefusesWrongTypes)
{
    const std::string answer = send("org.nightpane.Nightpane1.Activate", {"string:Dusk", "int32:1"});
    EXPECT_TRUE(answer.starts_with("Error org.freedesktop.DBus.Error.InvalidArgs: ")) << answer;
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlInterface, RefusesMissingArguments)
{
    const std::string answer = send("org.nightpane.Nightpane1.SetLocation", {"double:1"});
    EXPECT_TRUE(answer.starts_with("Error org.freedesktop.DBus.Error.InvalidArgs: ")) << answer;
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlInterface, RefusesUnknownMethods)
{
    const std::string answer = send("org.nightpane.Nightpane1.Explode");
    EXPECT_TRUE(answer.starts_with("Error org.freedesktop.DBus.Error.UnknownMethod: ")) << answer;
}

TEST_F(NPControlInterface, HasTheSwitchAsAProperty)
{
    control.effectActive = true;
    const std::string answer =
        send("org.freedesktop.DBus.Properties.Get", {"string:org.nightpane.Nightpane1", "string:EffectActive"});
    EXPECT_TRUE(answer.contains("boolean true")) << answer;
}

TEST_F(NPControlInterface, HasItsVersionAsAProperty)
{
    const std::string answer = send("org.freedesktop.DBus.Properties.GetAll", {"string:org.nightpane.Nightpane1"});
    EXPECT_TRUE(answer.contains("string \"1.2.3\"")) << answer;
    EXPECT_TRUE(answer.contains("boolean false")) << answer;
}

TEST_F(NPControlInterface, SetsTheSwitchThroughTheProperty)
{
    send("org.freedesktop.DBus.Properties.Set",
         {"string:org.nightpane.Nightpane1", "string:EffectActive", "variant:boolean:true"});
    EXPECT_EQ(Lines{"setEffectActive yes"}, control.requests);
}

TEST_F(NPControlInterface, PassesOnWhyTheSwitchCannotBeSet)
{
    control.error = NPControlError{false, "it is stuck"};
    EXPECT_EQ("Error org.nightpane.Error.Failed: it is stuck\n",
              send("org.freedesktop.DBus.Properties.Set",
                   {"string:org.nightpane.Nightpane1", "string:EffectActive", "variant:boolean:true"}));
}

TEST_F(NPControlInterface, RefusesASwitchOfTheWrongType)
{
    const std::string answer =
        send("org.freedesktop.DBus.Properties.Set",
             {"string:org.nightpane.Nightpane1", "string:EffectActive", "variant:string:true"});
    EXPECT_TRUE(answer.starts_with("Error org.freedesktop.DBus.Error.InvalidArgs: ")) << answer;
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlInterface, KeepsItsVersion)
{
    const std::string answer = send("org.freedesktop.DBus.Properties.Set",
                                    {"string:org.nightpane.Nightpane1", "string:Version", "variant:string:9"});
    EXPECT_TRUE(answer.starts_with("Error org.freedesktop.DBus.Error.PropertyReadOnly: ")) << answer;
}

TEST_F(NPControlInterface, AnnouncesChanges)
{
    NPTestProcess monitor({"dbus-monitor", "--session"});
    monitor.outputUntil("member=NameLost"); // from now on it hears everything

    instance->emitEffectsChanged();
    EXPECT_TRUE(outputUntil(monitor, "EffectsChanged")
                    .contains("interface=org.nightpane.Nightpane1; "
                              "member=EffectsChanged"));
    instance->emitStateChanged(false);
    const std::string output = outputUntil(monitor, "boolean false");
    EXPECT_TRUE(output.contains("path=/org/nightpane/Nightpane1; interface=org.nightpane.Nightpane1; "
                                "member=StateChanged\n   boolean false"))
        << output;
}

TEST_F(NPControlInterface, AnnouncesThePropertyOnlyWhenItChanges)
{
    NPTestProcess monitor({"dbus-monitor", "--session"});
    monitor.outputUntil("member=NameLost");

    instance->emitStateChanged(false); // as it was
    control.effectActive = true;
    instance->emitStateChanged(true);
    instance->emitStateChanged(true);
    instance->emitEffectsChanged();
    const std::string output = outputUntil(monitor, "member=EffectsChanged");
    EXPECT_EQ(3u, countOf(output, "member=StateChanged")) << output;
    EXPECT_EQ(1u, countOf(output, "member=PropertiesChanged")) << output;
    EXPECT_TRUE(output.contains("string \"EffectActive\"\n         variant             boolean true\n")) << output;
}
