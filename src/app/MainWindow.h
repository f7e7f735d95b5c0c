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

private:
    rz48View* view_;
};
