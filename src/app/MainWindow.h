#pragma once
// The panel's window: the panel view and the menu bar.
#include <QMainWindow>

class rz48View;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    rz48View* view() const { return view_; }
    // Menu items that need the panel started.
    void addPanelMenus();
    // Help > About: the program, the unit it talks to, the licence.
    QString aboutText() const;
    static QString shortcutsText();

private:
    // A self-test's result, in the window as well as on standard output.
    void showSelfTest(const QString& name, bool passed, const QString& output);

    rz48View* view_;
};
