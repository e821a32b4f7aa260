#pragma once

#include <QLabel>
#include <QPushButton>

// A label that acts when clicked: the caption laid over a picture button
// (see below), a help picture or a link. A caption is reached through its
// button; a help picture or a link that is made keyboard-reachable takes the
// focus by Tab or a click, shows it with a focus frame, and Space, Return
// and Enter click it.
class CaptionLabel : public QLabel
{
    Q_OBJECT

public:
    CaptionLabel(const QString &objectName, const QString &caption, QWidget *parent);

    void setKeyboardReachable(bool reachable);

signals:
    void clicked();
    void pressed();
    void released();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};

// The logo as a label shows it, drawn at the label's size and the screen's
// pixel ratio when the label is first painted rather than while its window
// is made. The wordmark is drawn in the label's text colour, which is the
// logo's blue (or on a dark palette a readable lighter blue).
class LogoLabel : public QLabel
{
    Q_OBJECT

public:
    LogoLabel(const QString &objectName, QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_logo;
    QColor m_wordmark;
};

// A help picture (a question mark) as assistive technology presents it:
// named "Help", described by its tool tip. One that opens the help (a
// CaptionLabel) is reached by Tab like a button.
void NameHelpPicture(QWidget *picture);

// A web link: underlined, in the link blue (readable on a dark palette),
// with the hand cursor, reached by Tab like a button.
void MakeLink(CaptionLabel *label);

// A command button that shows a picture ("ButtonUp", or "ButtonDwn" while the
// mouse is held down on it) with a separate caption label laid over it. Both
// are named controls of their window; a click on either is the button's click
// (the label's own click signal is there for handlers that must tell them
// apart). Space, Return and Enter click it when it has the focus.
class PictureButton : public QPushButton
{
    Q_OBJECT

public:
    // Makes the button and its caption label as children of parent.
    PictureButton(const QString &objectName, const QString &labelName, const QString &caption,
                  QWidget *parent);

    CaptionLabel *label() const { return m_label; }
    // The picture now shown: "ButtonUp" or "ButtonDwn".
    QString picture() const { return m_picture; }
    void setPicture(const QString &resourceName);

    // Places button and label, in twips relative to the parent.
    void place(int left, int top, int width, int height);

protected:
    void paintEvent(QPaintEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void followButton();

    CaptionLabel *m_label;
    QString m_picture;
};
