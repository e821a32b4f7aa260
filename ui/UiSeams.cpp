#include "UiSeams.h"

#include "Seams.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPointer>

namespace UiSeams {
namespace {

// Messages separate their lines with carriage returns; a label breaks lines
// at line feeds.
QString displayText(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text;
}

Seams::Answer messageBox(const QString &text, Seams::Buttons buttons, const QString &title)
{
    const bool question = buttons == Seams::Buttons::YesNo;
    QMessageBox::Icon icon = question ? QMessageBox::Question : QMessageBox::Information;
    if (title == QLatin1String("Error"))
        icon = QMessageBox::Critical;

    QPointer<QMessageBox> box =
        new QMessageBox(icon, title, displayText(text),
                        question ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok,
                        QApplication::activeWindow());
    box->setDefaultButton(question ? QMessageBox::Yes : QMessageBox::Ok);
    const int result = box->exec();
    delete box;
    if (!question)
        return Seams::Answer::Ok;
    return result == QMessageBox::Yes ? Seams::Answer::Yes : Seams::Answer::No;
}

} // namespace

void Install()
{
    Seams::setMessageBox(messageBox);
    Seams::setShellOpen([](const QUrl &url) { QDesktopServices::openUrl(url); });
}

} // namespace UiSeams
