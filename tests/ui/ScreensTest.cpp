#include "ui/UiFixture.h"

#include <QCheckBox>
#include <QRadioButton>

namespace ternvault::test {

using Text = Published<QString>;

struct Screens : UiFixture {
    /// Typing writes through, a change of the model shows, and news of other things leave the cursor alone.
    void checkBinding(const QString& name, Text AppModel::*field) {
        SCOPED_TRACE(name.toStdString());
        QLineEdit& edit = find<QLineEdit>(name);
        edit.setFocus();
        edit.selectAll();
        QTest::keyClicks(&edit, u" a&b"_s);
        EXPECT_EQ(*(model.*field), u" a&b"_s);
        edit.setSelection(1, 2);
        model.status = *model.status + u"!"_s;
        settle();
        EXPECT_EQ(std::pair(edit.selectionStart(), edit.selectedText()), std::pair(1, u"a&"_s));
        model.*field = u"from elsewhere"_s;
        settle();
        EXPECT_EQ(edit.text(), u"from elsewhere"_s);
    }
};

TEST_F(Screens, BindFieldsBothWays) {
    showSetup();
    checkBinding(u"Server IP"_s, &AppModel::serverIP);
    checkBinding(u"Username"_s, &AppModel::smbUser);
    checkBinding(u"Password"_s, &AppModel::smbPassword);
    showMain();
    checkBinding(u"IP address"_s, &AppModel::serverIP);
    checkBinding(u"Port"_s, &AppModel::agentPort);
    checkBinding(u"SMB username"_s, &AppModel::smbUser);
    checkBinding(u"SMB password"_s, &AppModel::smbPassword);
    showSettings();
    checkBinding(u"Server IP"_s, &AppModel::serverIP);
    checkBinding(u"Agent port"_s, &AppModel::agentPort);
    checkBinding(u"Agent token"_s, &AppModel::agentToken);
    checkBinding(u"SMB username"_s, &AppModel::smbUser);
    checkBinding(u"SMB password"_s, &AppModel::smbPassword);
    checkBinding(u"Preferred share name"_s, &AppModel::selectedShare);
    for (const char* name : {"Agent token", "SMB password"})
        EXPECT_EQ(find<QLineEdit>(QLatin1String(name)).echoMode(), QLineEdit::Password);
}

TEST_F(Screens, AcceptOnlyWithBothBoxesTicked) {
    showLegal();
    QPushButton& accept = button(u"Accept & Continue"_s);
    const QList<QCheckBox*> boxes = all<QCheckBox>();
    for (QPushButton* const link : {&button(u"Open Privacy Policy"_s), &button(u"Open Terms & Conditions"_s)})
        link->click();
    EXPECT_EQ(fake.workspace.browsed,
              (std::vector{QUrl(u"https://x/privacy"_s), QUrl(u"https://x/terms"_s)}));
    // The boxes after each click on one of them; Return is pressed each time.
    for (const auto& [clicked, privacy, terms] :
         {std::tuple(0, true, false), {0, false, false}, {1, false, true}, {0, true, true}}) {
        EXPECT_FALSE(model.legalAccepted);
        QTest::mouseClick(boxes[clicked], Qt::LeftButton);
        EXPECT_EQ(std::pair(*model.acceptedPrivacy, *model.acceptedTerms), std::pair(privacy, terms));
        settle();
        EXPECT_EQ(accept.isEnabled(), privacy && terms);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    }
    EXPECT_TRUE(model.legalAccepted);
    EXPECT_TRUE(accept.isDefault());
}

TEST_F(Screens, ConnectFromAnyFieldOnceAllAreFilled) {
    showSetup();
    for (const auto& [server, user, password, isBusy, canConnect] :
         {std::tuple("a", "b", "secret", false, true),
          {" ", " ", " ", false, true},
          {"", "b", "secret", false, false},
          {"a", "", "secret", false, false},
          {"a", "b", "", false, false},
          {"a", "b", "secret", true, false}}) {
        for (const auto& [key, modifier] :
             {std::pair(Qt::Key_Return, Qt::NoModifier), {Qt::Key_Enter, Qt::KeypadModifier}}) {
            SCOPED_TRACE(testing::Message() << server << '/' << user << '/' << password << ' ' << key);
            model.serverIP = QString::fromLatin1(server);
            model.smbUser = QString::fromLatin1(user);
            model.smbPassword = QString::fromLatin1(password);
            model.isBusy = isBusy;
            model.setupError = std::nullopt;
            settle();
            EXPECT_EQ(button(u"Create & Connect"_s).isEnabled(), canConnect);
            QLineEdit& field = find<QLineEdit>(u"Username"_s);
            field.setFocus();
            QTest::keyClick(&field, key, modifier);
            settle();
            EXPECT_EQ(model.setupError->has_value(), canConnect)
                << "the flow ends with an error, without a token";
        }
    }
}

TEST_F(Screens, SetUpTextsFollowTheMode) {
    showSetup();
    const auto hint = [this] { return find<QLineEdit>(u"Username"_s).placeholderText(); };
    EXPECT_EQ(hint(), u"new username"_s);
    QTest::mouseClick(&find<QRadioButton>(u"Login"_s), Qt::LeftButton);
    settle();
    EXPECT_EQ(model.authMode.get(), AuthMode::login);
    EXPECT_EQ(hint(), u"existing username"_s);
    model.authMode = AuthMode::create;
    settle();
    EXPECT_EQ(hint(), u"new username"_s);
    EXPECT_TRUE(find<QRadioButton>(u"Create"_s).isChecked());
}

TEST_F(Screens, ShowErrorsWithoutLeavingAGap) {
    const QString error = u"<b>No</b> & never"_s;
    const auto check = [&](std::optional<QString> message, Published<std::optional<QString>>& field) {
        QPushButton& action = *all<QPushButton>().last();
        const int before = action.y();
        field = message;
        settle();
        const QLabel& line = find<QLabel>(error);
        EXPECT_EQ(action.y(), before + line.height() + screen->findChild<QVBoxLayout*>()->spacing());
        EXPECT_LT(line.y(), action.y());
        field = std::nullopt;
        settle();
        EXPECT_EQ(action.y(), before);
    };
    showLegal();
    check(error, model.legalError);
    showSetup();
    check(error, model.setupError);
}

TEST_F(Screens, SettingsAndMainScreenFollowEachOther) {
    showMain();
    SettingsView settings(model);
    QCheckBox* const here = all<QCheckBox>().first();
    QCheckBox* const there = settings.findChildren<QCheckBox*>().first();
    for (QCheckBox* const clicked : {here, there}) {
        const bool on = !model.autoConnect;
        clicked->click();
        settle();
        EXPECT_TRUE(*model.autoConnect == on && here->isChecked() == on && there->isChecked() == on);
    }
    settings.findChildren<QCheckBox*>().last()->click();
    EXPECT_TRUE(model.showDesktopIcon);
}

} // namespace ternvault::test
