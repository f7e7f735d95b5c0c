#pragma once
// The panel window on the emulated unit, offscreen: the fixture of the
// window and page tests.
#include "common/Alerts.h"
#include "common/FilePanels.h"
#include "emulator/PtyHost.h"
#include "link/UnitLink.h"
#include "panel/UpdateController.h"
#include "panel/rz48View.h"
#include "support/TestSupport.h"

#include <QMainWindow>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace rz48test {

class RecordingAlerts : public rz48::AlertSink {
public:
    void showAlert(const QString& message, const QString& informative, rz48::AlertKind kind) override
    {
        messages << message;
        details << informative;
        kinds << kind;
    }
    rz48::SaveChoice askSaveChanges(const QString& message) override
    {
        questions << message;
        return answer;
    }
    int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton,
                   int escapeButton) override
    {
        questions << message;
        questionDetails << informative;
        choices = buttons;
        defaults << defaultButton;
        escapes << escapeButton;
        return buttonAnswers.isEmpty() ? choice : buttonAnswers.takeFirst();
    }
    QStringList messages;
    QStringList details; // each alert's informative text
    QList<rz48::AlertKind> kinds;
    QList<int> defaults, escapes; // of each question with buttons
    QList<int> buttonAnswers;     // answered in turn before `choice`
    QStringList questions;
    QStringList questionDetails; // each question's informative text
    QStringList choices;
    rz48::SaveChoice answer = rz48::SaveChoice::Cancel;
    int choice = -1;
};

// File panels that answer with the paths a test sets.
class ScriptedFilePanel : public rz48::FilePanel {
public:
    QString savePath(const QString&, const QString& suffix) override
    {
        suffixes << suffix;
        return nextSave;
    }
    QString openPath(const QString&, const QStringList& offered) override
    {
        suffixes << offered.join(u',');
        if (beforeAnswer) // a person takes a moment to choose
            beforeAnswer();
        return nextOpen;
    }
    QString nextSave, nextOpen;
    std::function<void()> beforeAnswer;
    QStringList suffixes;
};

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        rz48::setAlertSink(&alerts);
        rz48::setFilePanel(&panels);
        window = std::make_unique<QMainWindow>();
        view = new rz48View;
        window->setCentralWidget(view);
    }
    void TearDown() override
    {
        window->close();
        window.reset();
        rz48::setAlertSink(nullptr);
        rz48::setFilePanel(nullptr);
    }

    // Starts the panel on the emulated unit and waits for the start-up
    // reports; `builtIn`: the unit is the panel's own, as under --simulate.
    void startWithUnit(bool builtIn = false)
    {
        std::string error;
        ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
        LinkOptions options = noUnit();
        if (builtIn)
            options.simulatedUnit = host.sharedUnit();
        view->awakeFromNib(options);
        ASSERT_TRUE(view->link()->isRunning());
        ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 10000));
    }

    // The test directory (with or without a unit); the USB serial driver counts as installed.
    LinkOptions noUnit() const
    {
        LinkOptions options;
        options.searchDirectory = dir.path();
        options.driverCheck = [] { return true; };
        return options;
    }

    template <class T> T* find(const char* name)
    {
        T* w = view->findChild<T*>(QLatin1String(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }

    // Runs a user action and checks that exactly `expected` went to the
    // unit, and that its report came back without being echoed.
    void expectSends(const std::function<void()>& action, const std::string& expected)
    {
        const size_t before = host.unit().commands().size();
        const int linesBefore = view->linesProcessed();
        action();
        ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() > linesBefore; })) << expected;
        const auto commands = host.unit().commands();
        ASSERT_EQ(commands.size(), before + 1) << expected;
        EXPECT_EQ(commands.back(), expected);
        EXPECT_EQ(view->link()->txCount(), 0);
    }

    QTemporaryDir dir;
    rz48::emu::PtyHost host;
    RecordingAlerts alerts;
    ScriptedFilePanel panels;
    std::unique_ptr<QMainWindow> window;
    rz48View* view = nullptr;
};

} // namespace rz48test
