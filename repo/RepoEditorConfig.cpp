#include "repo/RepoEditorConfig.h"

#include "app/Colors.h"
#include "repo/ManagedRoot.h"
#include "repo/RepoBuffet.h"
#include "repo/YumConfIO.h"
#include "widgets/HFrameLabel.h"
#include "widgets/PasswdLineEdit.h"
#include "widgets/PasswdTextEdit.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <algorithm>

namespace RepoEditor
{
namespace
{
// A label for `field` in the layout's next row, both with the tool-tip.
QLabel* addRow(QGridLayout* layout, QString const& text, QWidget* field, QString const& toolTip)
{
    auto* label = new QLabel(text, layout->parentWidget());
    label->setBuddy(field);
    label->setToolTip(toolTip);
    field->setToolTip(toolTip);
    int const row = layout->rowCount();
    layout->addWidget(label, row, 0);
    layout->addWidget(field, row, 1);
    return label;
}

// urlsRegExp() ends in "[\s]*\b", which fails to match after a password
// followed by "&path=/" or ending the text, and would leave it shown.
QRegularExpression urlPasswords()
{
    QString pattern = Repo::Buffet::urlsRegExp().pattern();
    QLatin1String const tail("[\\s]*\\b");
    if (pattern.endsWith(tail))
        pattern.chop(tail.size());
    return QRegularExpression(pattern);
}

QComboBox* flagBox(QWidget* parent)
{
    auto* box = new QComboBox(parent);
    // In the order of Repo::Entry::Flag.
    box->addItems({ Config::tr("No"), Config::tr("Default"), Config::tr("Yes") });
    return box;
}
} // namespace

Config::Config(QGridLayout* layout, QObject* parent)
    : QObject(parent)
{
    QWidget* parentWidget = layout->parentWidget();
    idEdit = new QLineEdit(parentWidget);
    idEdit->setObjectName(QStringLiteral("identifierEdit"));
    addRow(layout, tr("Identifier"), idEdit, tr("Unique identifier for the repository"));
    nameEdit = new QLineEdit(parentWidget);
    nameEdit->setObjectName(QStringLiteral("nameEdit"));
    addRow(layout, tr("Name"), nameEdit, tr("Description of the repository"));
    urlsEdit = new PasswdTextEdit(urlPasswords(), parentWidget);
    urlsEdit->setObjectName(QStringLiteral("urlsEdit"));
    urlsEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    urlsEdit->setTabChangesFocus(true);
    urlsEdit->setMinimumWidth(urlsEdit->fontMetrics().averageCharWidth() * 70);
    urlsEdit->setFixedHeight(urlsEdit->fontMetrics().lineSpacing() * 4 + 2 * urlsEdit->frameWidth() + 8);
    addRow(layout, tr("URLs"), urlsEdit,
        tr("List of URLs to the repository.\nIf more than one is specified, they all should be identical "
           "mirrors,\nand will provide redundancy if some URLs are unreachable."));
    mirrorEdit = new PasswdLineEdit(Repo::Buffet::oneUrlRegExp(), parentWidget);
    mirrorEdit->setObjectName(QStringLiteral("mirrorlistEdit"));
    addRow(layout, tr("Mirror list URL"), mirrorEdit,
        tr("URL to a file containing a list of URLs to the repository."));

    authBox = new QGroupBox(tr("Buffet Authentication"), parentWidget);
    auto* authLayout = new QGridLayout(authBox);
    authNameEdit = new QLineEdit(authBox);
    authNameEdit->setObjectName(QStringLiteral("authNameEdit"));
    authNameLabel = addRow(authLayout, QString(), authNameEdit,
        tr("Authentication name for a repository using the buffet authentication method"));
    authPasswordEdit = new QLineEdit(authBox);
    authPasswordEdit->setObjectName(QStringLiteral("authPasswordEdit"));
    authPasswordEdit->setEchoMode(QLineEdit::Password);
    addRow(authLayout, tr("Password"), authPasswordEdit,
        tr("Authentication password for a repository using the buffet authentication method"));
    layout->addWidget(authBox, layout->rowCount(), 0, 1, 2);

    otherEdit = new QPlainTextEdit(parentWidget);
    otherEdit->setObjectName(QStringLiteral("otherEdit"));
    otherEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    otherEdit->setTabChangesFocus(true);
    addRow(layout, tr("Other Options:"), otherEdit,
        tr("Any other yum options for this repository.  See yum.conf(5)"));
    enabledBox = flagBox(parentWidget);
    enabledBox->setObjectName(QStringLiteral("enabledBox"));
    addRow(layout, tr("Enabled"), enabledBox, tr("Whether or not the repository is enabled for use"));
    gpgcheckBox = flagBox(parentWidget);
    gpgcheckBox->setObjectName(QStringLiteral("gpgcheckBox"));
    addRow(layout, tr("Check GPG Keys"), gpgcheckBox,
        tr("Whether or not GPG key signatures of packages from the repository are checked to ensure "
           "authenticity"));

    auto* fileBox = new QGroupBox(tr("Configuration File (expert)"), parentWidget);
    auto* fileLayout = new QGridLayout(fileBox);
    fileEdit = new QLineEdit(fileBox);
    fileEdit->setObjectName(QStringLiteral("fileEdit"));
    addRow(fileLayout, tr("File"), fileEdit,
        tr("Name of the yum configuration file into which to place this repository configuration.\nIf "
           "left blank, defaults to the repository's identifier"));
    positionBox = new QDoubleSpinBox(fileBox);
    positionBox->setObjectName(QStringLiteral("positionBox"));
    positionBox->setDecimals(1);
    positionBox->setSingleStep(1.0);
    positionBox->setMinimum(0.0);
    // The toolkit's default maximum, 99.99, would renumber the later
    // sections of a long file.
    positionBox->setMaximum(1e9);
    positionBox->setValue(0.0);
    addRow(fileLayout, tr("Sort Position"), positionBox,
        tr("A numeric sort key which determines the order of this repository configuration\nin a "
           "configuration file which contains multiple configurations"));
    layout->addWidget(fileBox, layout->rowCount(), 0, 1, 2);
    layout->setColumnStretch(1, 1);

    for (QLineEdit* edit : { idEdit, nameEdit, fileEdit })
        connect(edit, &QLineEdit::textChanged, this, &Config::valueChanged);
    connect(otherEdit, &QPlainTextEdit::textChanged, this, &Config::valueChanged);
    for (QComboBox* box : { enabledBox, gpgcheckBox })
        connect(box, &QComboBox::currentIndexChanged, this, &Config::valueChanged);
    connect(positionBox, &QDoubleSpinBox::valueChanged, this, &Config::valueChanged);
    connect(urlsEdit, &PasswdTextEdit::realTextChanged, this, &Config::urlChanged);
    connect(mirrorEdit, &PasswdLineEdit::realTextChanged, this, &Config::urlChanged);
    connect(authNameEdit, &QLineEdit::textChanged, this, &Config::authChanged);
    connect(authPasswordEdit, &QLineEdit::textChanged, this, &Config::authChanged);
    readAuth();
}

QWidget* Config::firstField() const
{
    return idEdit;
}

void Config::setEntry(Repo::Entry const& entry)
{
    // Every entry starts with its passwords hidden, whatever was shown of
    // the last one.
    urlsEdit->setRevealed(false);
    mirrorEdit->setRevealed(false);
    filling = true;
    idEdit->setText(entry.id);
    nameEdit->setText(entry.name);
    urlsEdit->setText(entry.baseurl);
    mirrorEdit->setText(entry.mirrorlist);
    otherEdit->setPlainText(entry.other);
    enabledBox->setCurrentIndex(entry.enabled);
    gpgcheckBox->setCurrentIndex(entry.gpgcheck);
    fileEdit->setText(entry.file);
    positionBox->setValue(entry.position);
    filling = false;
    readAuth();
}

Repo::Entry Config::toEntry() const
{
    static QRegularExpression const blanks(QStringLiteral("\\s+"));
    Repo::Entry entry;
    entry.id = idEdit->text();
    entry.name = nameEdit->text();
    // One URL per line, as a file read back would give them.
    entry.baseurl = urlsEdit->text().split(blanks, Qt::SkipEmptyParts).join(QLatin1Char('\n'));
    entry.mirrorlist = mirrorEdit->text();
    entry.other = otherEdit->toPlainText();
    // Every line ends with a line feed, or the next section's header would
    // be written onto the last one.
    if (!entry.other.isEmpty() && !entry.other.endsWith(QLatin1Char('\n')))
        entry.other += QLatin1Char('\n');
    entry.enabled = Repo::Entry::Flag(enabledBox->currentIndex());
    entry.gpgcheck = Repo::Entry::Flag(gpgcheckBox->currentIndex());
    entry.file = fileEdit->text();
    entry.position = positionBox->value();
    return entry;
}

void Config::setDefaults(bool mainEnabled, bool mainGpgcheck)
{
    auto label = [](bool on) { return tr("%1 %2").arg(tr("Default"), on ? tr("(Yes)") : tr("(No)")); };
    enabledBox->setItemText(Repo::Entry::Unset, label(mainEnabled));
    gpgcheckBox->setItemText(Repo::Entry::Unset, label(mainGpgcheck));
}

Config::Level Config::setStatus(YumConfIO* conf, HFrameLabel* label) const
{
    Repo::Entry const entry = toEntry();
    auto show = [label](Level level, QString const& text) {
        label->setPalette(
            level == Error ? Colors::makeError(label->palette()) : Colors::makeWarning(label->palette()));
        label->setText(text);
        return level;
    };
    if (entry.id.isEmpty())
        return show(Error, tr("No Identifier specified"));
    if (entry.baseurl.isEmpty() && entry.mirrorlist.isEmpty())
        return show(Warning, tr("No URLs or Mirror list URL specified"));
    if (!entry.file.isEmpty()) {
        // Where the file will be written: a bare name goes into the first
        // repository directory, and every path is the managed system's.
        QString file = entry.file;
        if (!file.startsWith(QLatin1Char('/')) && !conf->reposdirs().isEmpty())
            file = conf->reposdirs().first() + QLatin1Char('/') + file;
        file = Repo::ManagedRoot::under(file);
        if (file != YumConfIO::fileName()) {
            bool const inReposdir = std::any_of(conf->reposdirs().cbegin(), conf->reposdirs().cend(),
                [&file](QString const& dir) { return file.startsWith(dir + QLatin1Char('/')); });
            if (!inReposdir)
                return show(Warning, tr("File is not in any reposdir directory"));
            if (!file.endsWith(QLatin1String(".repo")))
                return show(Warning, tr("File lacks .repo suffix"));
        }
    }
    QString key1, name, key2, password;
    if (Repo::Buffet::getAuth(entry, key1, name, key2, password)) {
        if (name.isEmpty())
            return show(Warning, tr("No Buffet Authentication Name specified"));
        if (password.isEmpty())
            return show(Warning, tr("No Buffet Authentication Password specified"));
    }
    label->clear();
    return Fine;
}

void Config::valueChanged()
{
    if (!filling)
        Q_EMIT changed();
}

void Config::urlChanged()
{
    if (filling)
        return;
    readAuth();
    Q_EMIT changed();
}

void Config::authChanged()
{
    if (filling)
        return;
    filling = true;
    QString const name = authNameEdit->text();
    QString const password = authPasswordEdit->text();
    urlsEdit->setText(Repo::Buffet::replaceAuth(urlsEdit->text(), name, password));
    mirrorEdit->setText(Repo::Buffet::replaceAuth(mirrorEdit->text(), name, password));
    filling = false;
    Q_EMIT changed();
}

void Config::readAuth()
{
    Repo::Entry urls;
    urls.baseurl = urlsEdit->text();
    urls.mirrorlist = mirrorEdit->text();
    QString key1, name, key2, password;
    bool const buffet = Repo::Buffet::getAuth(urls, key1, name, key2, password);
    bool const wasFilling = filling;
    filling = true;
    // Without a buffet form there is nothing for the two fields to change.
    authBox->setEnabled(buffet);
    authNameLabel->setText(buffet ? key1 : tr("Name"));
    if (authNameEdit->text() != name)
        authNameEdit->setText(name);
    if (authPasswordEdit->text() != password)
        authPasswordEdit->setText(password);
    filling = wasFilling;
}

} // namespace RepoEditor
