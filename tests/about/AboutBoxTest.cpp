// The About box names the program's version and credits every library and font the player is
// built on, each with its licence in the same row.
#include "aboutDlg.h"

#include <QTextBrowser>
#include <QTextDocument>
#include <QTextTable>

#include <gtest/gtest.h>
#include <map>

namespace {

// The credits table of the box: first cell (the name) to last cell (the licence).
std::map<QString, QString> creditRows(QTextDocument& document) {
    std::map<QString, QString> rows;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextCursor cursor(block);
        QTextTable* table = cursor.currentTable();
        if (!table) {
            continue;
        }
        for (int r = 0; r < table->rows(); ++r) {
            auto cellText = [&](int column) {
                const QTextTableCell cell = table->cellAt(r, column);
                QTextCursor from = cell.firstCursorPosition();
                from.setPosition(cell.lastCursorPosition().position(), QTextCursor::KeepAnchor);
                return from.selectedText().trimmed();
            };
            rows[cellText(0)] = cellText(table->columns() - 1);
        }
        break;
    }
    return rows;
}

TEST(AboutBox, ShowsTheVersionAndCreditsEveryLibraryAndFontWithItsLicence) {
    aboutDlg dialog;
    auto* browser = dialog.findChild<QTextBrowser*>();
    ASSERT_NE(browser, nullptr);
    EXPECT_TRUE(browser->toPlainText().contains(QStringLiteral("Tamberlo " EXPECTED_VERSION)))
        << qPrintable(browser->toPlainText());

    QTextDocument document;
    document.setHtml(aboutDlg::aboutText());
    const std::map<QString, QString> rows = creditRows(document);

    const std::pair<const char*, const char*> expected[] = {
        {"Qt", "LGPL"},
        {"FFmpeg", "LGPL"},
        {"libopenmpt", "BSD"},
        {"SDL2", "zlib"},
        {"soxr", "LGPL"},
        {"zlib", "zlib"},
        {"minizip", "zlib"},
        {"DSEG", "Open Font License"},       // the LCD digits
        {"Misaki", "licence of the Misaki"}, // the pixel labels: the author's own free licence
    };
    for (const auto& [name, licence] : expected) {
        bool found = false;
        for (const auto& [rowName, rowLicence] : rows) {
            if (rowName.contains(name)) {
                found = true;
                EXPECT_TRUE(rowLicence.contains(licence)) << name << ": " << qPrintable(rowLicence);
            }
        }
        EXPECT_TRUE(found) << name << " is not credited";
    }
}

} // namespace
