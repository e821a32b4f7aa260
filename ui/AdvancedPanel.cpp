#include "AdvancedPanel.h"

#include "ConnectionChoices.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "SettingsNames.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QValidator>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace AdvancedPanel {
namespace {

// A control the procedure expects on the window; a window without it fails
// the step that uses it, as a reference to a missing control does.
template <typename Control> Control *control(QWidget *window, const char *name)
{
    auto *found = window ? window->findChild<Control *>(QLatin1String(name)) : nullptr;
    if (!found)
        throw RuntimeError(91, QStringLiteral("Object variable or With block variable not set"));
    return found;
}

// Shows a text in a combo box whether or not it is one of its items. The
// windows make these combo boxes editable; a fixed list can only show one
// of its own items.
void showText(QComboBox *combo, const QString &text)
{
    if (combo->isEditable())
        combo->setEditText(text);
    else
        combo->setCurrentIndex(combo->findText(text));
}

} // namespace

void LoadAdvancedTabSettings(QWidget *window)
{
    Trap(QStringLiteral("basDNS.LoadAdvancedTabSettings()"), [&] {
        RegistryStore reg;
        reg.SetKey(Settings::InitKey);

        QComboBox *cboPorts = control<QComboBox>(window, "cboPorts");
        FillComboFromList(cboPorts, QStringLiteral("80,1400,8080"));

        QComboBox *cboRefreshRate = control<QComboBox>(window, "cboRefreshRate");
        if (User().bVeltrioOnly) {
            FillComboFromList(cboRefreshRate, QStringLiteral("90,100,110,120"));
            showText(cboRefreshRate, QStringLiteral("90"));
        } else {
            FillComboFromList(cboRefreshRate, QStringLiteral("30,40,50,60,70,80,90,100,110,120"));
            showText(cboRefreshRate, QStringLiteral("60"));
        }

        // A rate below a minute is raised to one; a rate of a minute or more
        // is shown as stored, even below a free account's own list. A rate
        // that cannot be used (no finite number, or beyond the lists' longest
        // rate: no check would ever come) falls back to 90.
        if (const auto rate =
                ConnectionChoices::RefreshRateFromStored(reg.ReadValue(Settings::RefreshRate)))
            showText(cboRefreshRate, *rate);

        QCheckBox *chkSSL = control<QCheckBox>(window, "chkSSL");
        if (reg.ReadValue(Settings::bSSL) == QLatin1String("1"))
            chkSSL->setChecked(true);

        // The login window has no chkService: with "bRunAsService" set, the
        // procedure ends here on that window and the service URL is left as
        // the window set it.
        if (reg.ReadValue(Settings::bRunAsService) == QLatin1String("1"))
            control<QCheckBox>(window, "chkService")->setChecked(true);

        if (chkSSL->isChecked()) {
            cboPorts->setEnabled(false);
            ProgramWide::sServiceURL = basDNS::HttpsURL();
        } else {
            showText(cboPorts, QStringLiteral("80"));
            const QString port = reg.ReadValue(Settings::Port);
            if (TextRules::IsNumeric(port))
                showText(cboPorts, port);
            ProgramWide::sServiceURL = basDNS::PlainURL(cboPorts->currentText());
        }
    });
}

void FillComboFromList(QComboBox *combo, const QString &list)
{
    combo->clear();
    if (list.isEmpty())
        return;
    combo->addItems(list.split(QLatin1Char(',')));
}

namespace {
const char *const kLastNumber = "veltrioLastNumber";

// One to nine of the digits 0-9, as a QRegularExpressionValidator with
// "[0-9]{1,9}" takes them, without a regular expression to load and compile
// while the window is made.
class DigitsValidator : public QValidator
{
public:
    using QValidator::QValidator;

    State validate(QString &input, int &pos) const override
    {
        if (input.isEmpty())
            return Intermediate;
        const bool digits = std::all_of(input.cbegin(), input.cend(), [](QChar c) {
            return c >= QLatin1Char('0') && c <= QLatin1Char('9');
        });
        if (digits && input.size() <= 9)
            return Acceptable;
        pos = static_cast<int>(input.size());
        return Invalid;
    }
};
} // namespace

void KeepNumeric(QComboBox *combo)
{
    QLineEdit *edit = combo->lineEdit();
    if (!edit)
        return;
    edit->setValidator(new DigitsValidator(combo));
    QObject::connect(combo, &QComboBox::currentTextChanged, combo, [combo](const QString &text) {
        if (!text.isEmpty())
            combo->setProperty(kLastNumber, text);
    });
    QObject::connect(edit, &QLineEdit::editingFinished, combo, [combo] {
        if (combo->currentText().isEmpty())
            combo->setCurrentText(combo->property(kLastNumber).toString());
    });
}

QString NumericText(const QComboBox *combo)
{
    const QString text = combo->currentText();
    return text.isEmpty() ? combo->property(kLastNumber).toString() : text;
}

} // namespace AdvancedPanel
