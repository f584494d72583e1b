#pragma once

#include "repo/RepoEntry.h"

#include <QObject>

class HFrameLabel;
class PasswdLineEdit;
class PasswdTextEdit;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QWidget;
class YumConfIO;

namespace RepoEditor
{
// The fields of one repository section, laid out in a given grid.  The URL
// fields show buffet passwords masked; the buffet name and password fields
// and the URLs are kept in step both ways.
class Config : public QObject
{
    Q_OBJECT

public:
    enum Level { Fine, Warning, Error };

    // Fills `layout`, whose widget becomes the fields' parent.
    explicit Config(QGridLayout* layout, QObject* parent = nullptr);

    // Fills every field from the entry, without emitting changed(), with
    // the passwords in the URL fields masked.
    void setEntry(Repo::Entry const& entry);
    Repo::Entry toEntry() const;
    // Labels the "Default" item of each flag with [main]'s setting.
    void setDefaults(bool mainEnabled, bool mainGpgcheck);
    // Puts the first problem of the fields into `label`, in the colours of
    // its level; empties it when there is none.
    Level setStatus(YumConfIO* conf, HFrameLabel* label) const;

    // The field that takes the focus first.
    QWidget* firstField() const;

Q_SIGNALS:
    // Every edit of any field.
    void changed();

private:
    void valueChanged();
    void urlChanged();
    void authChanged();
    // Shows the buffet key, name and password found in the URL fields.
    void readAuth();

    QLineEdit* idEdit;
    QLineEdit* nameEdit;
    PasswdTextEdit* urlsEdit;
    PasswdLineEdit* mirrorEdit;
    QGroupBox* authBox;
    QLabel* authNameLabel;
    QLineEdit* authNameEdit;
    QLineEdit* authPasswordEdit;
    QPlainTextEdit* otherEdit;
    QComboBox* enabledBox;
    QComboBox* gpgcheckBox;
    QLineEdit* fileEdit;
    QDoubleSpinBox* positionBox;
    // Set while the fields are filled by the program, not by the user.
    bool filling = false;
};
} // namespace RepoEditor
