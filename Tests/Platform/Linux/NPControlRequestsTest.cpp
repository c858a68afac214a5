#include "Platform/Linux/NPControlBusTesting.h"

#include <limits>
#include <stdexcept>

// Every operation from one process to the other and back, and what may go wrong on the way.

namespace {

class NPControlRequests : public NPControlBusTesting {
protected:
    NPControlRequests() { publish(); }

    // The one request that came through.
    std::string request() const { return control.requests.size() == 1 ? control.requests.front() : "not one"; }
};

using Lines = std::vector<std::string>;

// The same value, number kinds included: a true that arrives as 1 is another value to other programs.
void expectSame(const QXValue& left, const QXValue& right)
{
    EXPECT_EQ(left.kind(), right.kind());
    EXPECT_EQ(left, right);
}

} // namespace

TEST_F(NPControlRequests, ListsEffects)
{
    control.list = {QXDictionary{{"identifier", "A-1"},
                                 {"name", "Dusk – Dämmerung"},
                                 {"state", "mixed"},
                                 {"settings", QXDictionary{{"dim", "30%"}, {"name", "Dusk"}}},
                                 {"nextActivation", "2026-11-21T22:00:00Z"}},
                    QXDictionary{{"identifier", "B-2"}}};
    EXPECT_EQ(control.list, ask([](NPControl& client) { return client.effects(); }).value());
    EXPECT_EQ("effects", request());
}

TEST_F(NPControlRequests, ListsScreens)
{
    control.list = {QXDictionary{{"number", 1}, {"identifier", 4294967295u}, {"main", true}, {"active", false}}};
    const QXArray list = ask([](NPControl& client) { return client.screens(); }).value();
    ASSERT_EQ(1u, list.size());
    expectSame(true, list[0].dictionary()->at("main"));
    expectSame(std::int64_t{4294967295}, list[0].dictionary()->at("identifier"));
    EXPECT_EQ(control.list, list);
    EXPECT_EQ("screens", request());
}

TEST_F(NPControlRequests, ListsNothing)
{
    EXPECT_EQ(QXArray(), ask([](NPControl& client) { return client.effects(); }).value());
}

TEST_F(NPControlRequests, GivesTheStatus)
{
    EXPECT_EQ((QXDictionary{{"version", "1.2.3"}, {"active", false}}),
              ask([](NPControl& client) { return client.status(); }).value());
}

TEST_F(NPControlRequests, Activates)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.activate("Dusk", "timed"); }));
    EXPECT_EQ("activate Dusk timed", request());
}

TEST_F(NPControlRequests, Deactivates)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.deactivate("Dusk", "none"); }));
    EXPECT_EQ("deactivate Dusk none", request());
}

TEST_F(NPControlRequests, Toggles)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.toggle("Dusk", "manual"); }));
    EXPECT_EQ("toggle Dusk manual", request());
}

TEST_F(NPControlRequests, SwitchesAllEffectsOnAndOff)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.setEffectActive(true); }));
    EXPECT_TRUE(ask([](NPControl& client) { return client.setEffectActive(false); }));
    EXPECT_EQ((Lines{"setEffectActive yes", "setEffectActive no"}), control.requests);
}

TEST_F(NPControlRequests, AddsAnEffect)
{
    const auto identifier =
        ask([](NPControl& client) { return client.addEffect("Dusk", {{"dim", "30%"}, {"hue", "20"}}); });
    EXPECT_EQ("NEW", identifier.value());
    EXPECT_EQ("addEffect Dusk dim=30% hue=20", request());
}

TEST_F(NPControlRequests, ChangesAnEffect)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.setEffect("Dusk", {{"screens", "1,3"}}); }));
    EXPECT_EQ("setEffect Dusk screens=1,3", request());
}

TEST_F(NPControlRequests, RenamesAnEffect)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.renameEffect("Dusk", "Night"); }));
    EXPECT_EQ("renameEffect Dusk Night", request());
}

TEST_F(NPControlRequests, DuplicatesAnEffect)
{
    EXPECT_EQ("NEW", ask([](NPControl& client) { return client.duplicateEffect("Dusk"); }).value());
    EXPECT_EQ("duplicateEffect Dusk", request());
}

TEST_F(NPControlRequests, RemovesAnEffect)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.removeEffect("Dusk"); }));
    EXPECT_EQ("removeEffect Dusk", request());
}

TEST_F(NPControlRequests, ImportsAnEffect)
{
    const QXData file{0, 1, 255, '\n', 0};
    EXPECT_EQ("NEW", ask([&](NPControl& client) { return client.importEffect(file); }).value());
    EXPECT_EQ("importEffect", request());
    EXPECT_EQ(file, control.file);
}

TEST_F(NPControlRequests, ExportsAnEffect)
{
    control.file = {0, 1, 255, '\n', 0};
    EXPECT_EQ(control.file, ask([](NPControl& client) { return client.exportEffect("Dusk"); }).value());
    EXPECT_EQ("exportEffect Dusk", request());
}

TEST_F(NPControlRequests, GivesTheLocation)
{
    control.dictionary = {{"latitude", 52.5}, {"longitude", -0.1}, {"guessed", true}};
    EXPECT_EQ(control.dictionary, ask([](NPControl& client) { return client.location(); }).value());
    EXPECT_EQ("location", request());
}

TEST_F(NPControlRequests, SetsTheLocation)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.setLocation(52.5, -0.1); }));
    EXPECT_EQ("setLocation 52.5 -0.1", request());
}

TEST_F(NPControlRequests, GivesATable)
{
    QXArray samples;
    for (int i = 0; i < 1024; ++i) {
        samples.push_back(i / 1023.0);
    }
    control.dictionary = {
        {"screen", 7}, {"samples", 1024}, {"red", samples}, {"green", samples}, {"blue", samples}};
    EXPECT_EQ(control.dictionary, ask([](NPControl& client) { return client.table("1"); }).value());
    EXPECT_EQ("table 1", request());
}

TEST_F(NPControlRequests, Restores)
{
    EXPECT_TRUE(ask([](NPControl& client) { return client.restore(); }));
    EXPECT_EQ("restore", request());
}

TEST_F(NPControlRequests, KeepEveryKindOfValue)
{
    const QXDictionary values{{"boolean", true},
                              {"integer", std::numeric_limits<std::int64_t>::min()},
                              {"unsigned", std::numeric_limits<std::uint64_t>::max()},
                              {"real", 0.1},
                              {"infinity", -std::numeric_limits<double>::infinity()},
                              {"string", ""},
                              {"array", QXArray{1, "two", 3.0, QXArray{QXArray{}}, QXDictionary{{"", false}}}},
                              {"reals", QXArray{1.0, 2.0}},
                              {"empty array", QXArray{}},
                              {"dictionary", QXDictionary{}}};
    control.dictionary = values;
    const QXDictionary received = ask([](NPControl& client) { return client.location(); }).value();
    ASSERT_EQ(values.size(), received.size());
    for (const auto& [key, value] : values) {
        SCOPED_TRACE(key);
        expectSame(value, received.at(key));
    }
}

TEST_F(NPControlRequests, AnswerWithReplacementCharactersForWhatTheBusCannotCarry)
{
    using namespace std::string_literals;
    control.dictionary = {{"name", "Caf\xE9\0!\xEF\xBF\xBF"s}};
    const QXDictionary received = ask([](NPControl& client) { return client.location(); }).value();
    EXPECT_EQ("Caf\uFFFD\uFFFD!\uFFFD", *received.at("name").string());
}

TEST_F(NPControlRequests, AreNotSentWithTextThatTheBusCannotCarry)
{
    const auto answer = ask([](NPControl& client) { return client.renameEffect("Dusk", "Caf\xE9"); });
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().misuse);
    EXPECT_EQ("\"Caf?\" is not UTF-8 text", answer.error().message);
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlRequests, EndInMisuseWhereTheInstanceSaysSo)
{
    control.error = NPControlError{true, "'fast' is not a fade"};
    const auto answer = ask([](NPControl& client) { return client.activate("Dusk", "fast"); });
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().misuse);
    EXPECT_EQ("'fast' is not a fade", answer.error().message);
}

TEST_F(NPControlRequests, EndInFailureWhereTheInstanceSaysSo)
{
    control.error = NPControlError{false, "there is no effect 'Dämmerung'"};
    const auto answer = ask([](NPControl& client) { return client.exportEffect("Dämmerung"); });
    ASSERT_FALSE(answer);
    EXPECT_FALSE(answer.error().misuse);
    EXPECT_EQ("there is no effect 'Dämmerung'", answer.error().message);
}

TEST_F(NPControlRequests, EndInOneLine)
{
    control.error = NPControlError{false, "first\nsecond\r\n\xFF"};
    const auto answer = ask([](NPControl& client) { return client.restore(); });
    EXPECT_EQ("first second  \uFFFD", answer.error().message);
}

TEST_F(NPControlRequests, SurviveAnExceptionInTheInstance)
{
    control.duringRequest = [] { throw std::runtime_error("out of something"); };
    const auto failed = ask([](NPControl& client) { return client.restore(); });
    ASSERT_FALSE(failed);
    EXPECT_FALSE(failed.error().misuse);
    EXPECT_EQ("out of something", failed.error().message);
    control.duringRequest = nullptr;
    EXPECT_TRUE(ask([](NPControl& client) { return client.restore(); }));
}

TEST_F(NPControlRequests, TakeTextsUpToTheirLimit)
{
    const std::string longest(4096, 'x');
    EXPECT_TRUE(ask([&](NPControl& client) { return client.removeEffect(longest); }));
    EXPECT_EQ("removeEffect " + longest, request());
}

TEST_F(NPControlRequests, RefuseTextsBeyondTheirLimit)
{
    const auto answer = ask([](NPControl& client) { return client.removeEffect(std::string(4097, 'x')); });
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().misuse);
    EXPECT_EQ("a text is longer than 4096 bytes", answer.error().message);
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlRequests, RefuseTooLongSettings)
{
    const auto answer =
        ask([](NPControl& client) { return client.setEffect("Dusk", {{"name", std::string(4097, 'x')}}); });
    EXPECT_EQ("a text is longer than 4096 bytes", answer.error().message);
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlRequests, RefuseTooManySettings)
{
    NPControlSettings settings;
    for (int i = 0; i < 65; ++i) {
        settings.emplace(std::to_string(i), "");
    }
    const auto answer = ask([&](NPControl& client) { return client.setEffect("Dusk", settings); });
    EXPECT_EQ("there are more than 64 settings", answer.error().message);
    EXPECT_EQ(Lines(), control.requests);
    settings.erase("64");
    EXPECT_TRUE(ask([&](NPControl& client) { return client.setEffect("Dusk", settings); }));
}

TEST_F(NPControlRequests, TakeFilesUpToTheirLimit)
{
    const QXData file(1 << 20, 'x');
    EXPECT_TRUE(ask([&](NPControl& client) { return client.importEffect(file); }));
    EXPECT_EQ(file, control.file);
}

TEST_F(NPControlRequests, RefuseFilesBeyondTheirLimit)
{
    const QXData file((1 << 20) + 1, 'x');
    const auto answer = ask([&](NPControl& client) { return client.importEffect(file); });
    ASSERT_FALSE(answer);
    EXPECT_TRUE(answer.error().misuse);
    EXPECT_EQ("a file is larger than 1048576 bytes", answer.error().message);
    EXPECT_EQ(Lines(), control.requests);
}

TEST_F(NPControlRequests, SurviveHugeFiles)
{
    const QXData file(16 << 20, 'x');
    const auto answer = ask([&](NPControl& client) { return client.importEffect(file); });
    EXPECT_EQ("a file is larger than 1048576 bytes", answer.error().message);
    EXPECT_TRUE(ask([](NPControl& client) { return client.restore(); }));
}

TEST_F(NPControlRequests, GetBackFilesBeyondTheLimitOfThoseSent)
{
    control.file.assign((1 << 20) + 1, 'x');
    EXPECT_EQ(control.file, ask([](NPControl& client) { return client.exportEffect("Dusk"); }).value());
}
