#include "aboutDlg.h"

#include "TamberloVersion.h"
#include "ui_aboutDlg.h"

#include <QtGlobal>

aboutDlg::aboutDlg(QWidget* parent) : QDialog(parent), ui(std::make_unique<Ui::aboutDlg>()) {
    ui->setupUi(this);
    ui->textAbout->setHtml(aboutText());
}

aboutDlg::~aboutDlg() = default;

QString aboutDlg::aboutText() {
    struct Credit {
        const char* name;
        const char* what;
        const char* licence;
    };
    static constexpr Credit credits[] = {
        {"Qt", "windows, widgets, settings", "LGPL 3"},
        {"FFmpeg", "decoding of MP3, Ogg, FLAC, WMA, AAC, WAV, AIFF and streams", "LGPL 2.1+"},
        {"libopenmpt", "tracker modules", "BSD 3-clause"},
        {"SDL2", "sound output", "zlib licence"},
        {"libsoxr", "resampling and pitch", "LGPL 2.1+"},
        {"zlib", "gzip-compressed songs", "zlib licence"},
        {"minizip", "zip archives in the playlist", "zlib licence"},
        {"DSEG fonts", "the LCD time display", "SIL Open Font License 1.1"},
        {"Misaki fonts", "the small pixel labels", "free licence of the Misaki font"},
    };
    QString html = QStringLiteral("<h2>Tamberlo %1</h2>"
                                  "<p>A music player for songs, streams and Amiga modules, "
                                  "with gapless playback and a built-in module ripper.</p>"
                                  "<h3>Built with</h3><table cellspacing=\"4\">")
                       .arg(QStringLiteral(TAMBERLO_VERSION));
    for (const Credit& c : credits) {
        html += QStringLiteral("<tr><td><b>%1</b></td><td>%2</td><td><i>%3</i></td></tr>")
                    .arg(QLatin1String(c.name), QLatin1String(c.what), QLatin1String(c.licence));
    }
    html += QStringLiteral("</table><p>Qt runtime %1.</p>").arg(QLatin1String(qVersion()));
    return html;
}
