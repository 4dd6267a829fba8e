#include "mainwindow/MainUserPrompts.h"

#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QRegularExpression>
#include <QStringList>

namespace {

QString _Q(const std::string& text)
{
    return QString::fromUtf8(text.c_str(), static_cast<qsizetype>(text.size()));
}

// Paths go through the file system's encoding both ways, so a name's bytes survive.
QString _QPath(const std::string& path)
{
    return QFile::decodeName(QByteArray(path.c_str(), static_cast<qsizetype>(path.size())));
}

std::string _SPath(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

// "Playlist (*.pls)" gives "pls"; a filter of several patterns, or none, gives "".
QString _ExtensionOfFilter(const QString& filter)
{
    static const QRegularExpression onePattern(QStringLiteral("^[^(]*\\(\\s*\\*\\.([^ *.;()]+)\\s*\\)\\s*$"));
    const QRegularExpressionMatch match = onePattern.match(filter);
    return match.hasMatch() ? match.captured(1) : QString();
}

// `path` with ".extension" added when its file name has no extension of its own.
QString _WithExtension(const QString& path, const QString& extension)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    if (extension.isEmpty() || name.isEmpty() || name.lastIndexOf(QLatin1Char('.')) > 0)
        return path;
    return path + QLatin1Char('.') + extension;
}

// A save dialog that gives a bare name the extension of the type chosen when the name is
// confirmed, so the question before replacing a file asks about the name that is written.
class _SaveDialog : public QFileDialog {
public:
    _SaveDialog(QWidget* parent, const QString& title, const QString& folder, const QString& fallbackExtension)
        : QFileDialog(parent, title, folder), _fallback(fallbackExtension)
    {
        setAcceptMode(QFileDialog::AcceptSave);
    }

    QString ChosenExtension() const
    {
        const QString extension = _ExtensionOfFilter(selectedNameFilter());
        return extension.isEmpty() ? _fallback : extension;
    }

protected:
    void accept() override
    {
        setDefaultSuffix(ChosenExtension());
        QFileDialog::accept();
    }

private:
    QString _fallback;
};

class MainUserPromptsQt : public MainUserPrompts {
public:
    explicit MainUserPromptsQt(QWidget* parent) : _parent(parent) {}

    void Alert(const std::string& title, const std::string& text) override
    {
        QMessageBox::warning(_parent, _Q(title), _Q(text));
    }
    bool AskYesNo(const std::string& title, const std::string& text) override
    {
        return QMessageBox::question(_parent, _Q(title), _Q(text), QMessageBox::Yes | QMessageBox::No) ==
               QMessageBox::Yes;
    }
    std::vector<std::string> ChooseFiles(const std::string& title, const std::string& filter,
                                         const std::string& startFolder) override
    {
        std::vector<std::string> files;
        for (const QString& file :
             QFileDialog::getOpenFileNames(_parent, _Q(title), _QPath(startFolder), _Q(filter))) {
            files.push_back(_SPath(file));
        }
        return files;
    }
    std::string ChooseFile(const std::string& title, const std::string& filter,
                           const std::string& startFolder) override
    {
        return _SPath(QFileDialog::getOpenFileName(_parent, _Q(title), _QPath(startFolder), _Q(filter)));
    }
    std::string ChooseFolder(const std::string& title, const std::string& button,
                             const std::string& startFolder) override
    {
        QFileDialog dialog(_parent, _Q(title), _QPath(startFolder));
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly, true);
        dialog.setLabelText(QFileDialog::Accept, _Q(button));
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
            return {};
        }
        return _SPath(dialog.selectedFiles().constFirst());
    }
    std::string ChooseSaveFile(const std::string& title, const std::string& filters,
                               const std::string& defaultExtension, const std::string& startFolder) override
    {
        _SaveDialog dialog(_parent, _Q(title), _QPath(startFolder), _Q(defaultExtension));
        dialog.setNameFilters(_Q(filters).split(QStringLiteral(";;"), Qt::SkipEmptyParts));
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
            return {};
        }
        // A native dialog may not have added it itself.
        return _SPath(_WithExtension(dialog.selectedFiles().constFirst(), dialog.ChosenExtension()));
    }
    int ChooseItem(const std::string& title, const std::string& label,
                   const std::vector<std::string>& choices) override
    {
        QStringList items;
        for (const std::string& choice : choices) {
            items << _Q(choice);
        }
        bool ok = false;
        const QString chosen = QInputDialog::getItem(_parent, _Q(title), _Q(label), items, 0, false, &ok);
        return ok ? static_cast<int>(items.indexOf(chosen)) : -1;
    }

private:
    QPointer<QWidget> _parent;
};

}  // namespace

std::unique_ptr<MainUserPrompts> MakeMainUserPromptsQt(QWidget* parent)
{
    return std::make_unique<MainUserPromptsQt>(parent);
}

