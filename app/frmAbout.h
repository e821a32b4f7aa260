#pragma once

#include <QDialog>

class CaptionLabel;
class PictureButton;
class QFrame;
class QLabel;

// The about box: product name, version and revision, the terms-of-service
// link, and a launcher for the system information tool that no control of
// the box calls. Shown modally; it unloads itself on OK.
class frmAbout : public QDialog
{
    Q_OBJECT

public:
    explicit frmAbout(QWidget *parent = nullptr);
    ~frmAbout() override;

    // Makes an about box and shows it modally; it deletes itself.
    static void ShowModal(QWidget *parent);

    // The registry's local-machine hive.
    static constexpr qint64 kLocalMachine = 0x80000002;

    // Starts the system information tool found through the registry, or
    // tells the user it is unavailable (always so where there is no registry).
    static void StartSysInfo();
    // Reads one registry value as text; false (and an empty KeyVal) when the
    // key or the value cannot be read.
    static bool GetKeyValue(qint64 KeyRoot, const QString &KeyName, const QString &SubKeyRef,
                            QString &KeyVal);
    // A number value as GetKeyValue gives it: its bytes, less a trailing
    // zero byte, from the last to the first, each as unpadded hexadecimal,
    // read back as one hexadecimal number in decimal.
    static QString NumberValueText(quint32 value);

    QLabel *Image1;
    QLabel *lblTitle;
    QFrame *Line1;
    CaptionLabel *Label1; // the terms-of-service link
    PictureButton *cmdOK;
    CaptionLabel *Label2; // cmdOK's caption; a click closes the box too

public slots:
    void Form_Load();
    void cmdOK_Click();
    void Label2_Click();
    void Label1_Click();

protected:
    void closeEvent(QCloseEvent *event) override;
};
