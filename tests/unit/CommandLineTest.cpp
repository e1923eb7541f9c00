#include "cli/AgentCommands.h"
#include "cli/MountCommands.h"
#include "cli/SetupCommands.h"
#include "support/ModelFixture.h"

namespace ternvault::test {

class CommandLine : public ModelFixture {
protected:
    CommandLine() {
        model.agentToken = u"t"_s;
        model.legalAccepted = true;
    }
    /// What the command prints on standard output and on standard error; the agent gives this answer.
    std::pair<QString, QString> print(Task<int> command, const HttpResponse& answer = {}) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        perform(run(std::move(command)));
        if (!fake.http.pending.empty())
            fake.http.answer(answer);
        fake.time.run();
        const auto output = QString::fromStdString(testing::internal::GetCapturedStdout());
        return {output, QString::fromStdString(testing::internal::GetCapturedStderr())};
    }
    static Task<> run(Task<int> command) { co_await command; }

    AppModel& model = startWithAccount();
};

TEST_F(CommandLine, PrintsNamesSoThatTheyReachNeitherTheTerminalNorTheFormat) {
    const QString signs = u"\u202e\u2066\u200f\u061c\u2028\u007f\u0085\u0001"_s;
    const QString name = signs + u"\"\\ä😀"_s;
    const DisksResponse listing{{}, {{name, u"/srv"_s, 1, 2, {}}}};
    const HttpResponse answer{200, encodeDisksResponse(listing)};
    const auto [json, noErrors] = print(cli::listDisks(model, true), answer);
    EXPECT_EQ(decodeDisksResponse(json.toUtf8()), listing);
    const auto [table, nothing] = print(cli::listDisks(model, false), answer);
    EXPECT_TRUE(table.contains(u"\"\\ä😀"_s));
    for (const QString& text : {json.chopped(1), QString(table).remove(u'\n')}) {
        for (const QChar sign : signs)
            EXPECT_FALSE(text.contains(sign)) << int(sign.unicode());
    }
}

TEST_F(CommandLine, SaysWhatFailedInALineOfWords) {
    const auto [output, refused] = print(cli::setUp(model, fake.secrets, AuthMode::create), {500, "\n"});
    EXPECT_EQ(refused, u"The agent did not create the account and gave no reason.\n"_s);
    EXPECT_EQ(*model.setupError, u"\n"_s);

    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    model.refreshMounted();
    letProgramsFail("it is\nbusy\n");
    EXPECT_EQ(print(cli::ejectVolume(model)).second, u"Eject failed: it is\\nbusy\n"_s);
    EXPECT_EQ(*model.status, u"Eject failed: it is\nbusy\n"_s);
}

} // namespace ternvault::test
