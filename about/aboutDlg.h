#pragma once
// The About box: the program's version and the libraries and fonts it is built on, with their
// licences, as rich text.
//
// Threading: GUI thread only.

#include <QDialog>
#include <memory>

namespace Ui {
class aboutDlg;
}

class aboutDlg : public QDialog {
    Q_OBJECT
public:
    explicit aboutDlg(QWidget* parent = nullptr);
    ~aboutDlg() override;

    // The rich text shown in the box (also used by tests).
    static QString aboutText();

private:
    std::unique_ptr<Ui::aboutDlg> ui;
};
