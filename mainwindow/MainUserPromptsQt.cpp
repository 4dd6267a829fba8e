#include "mainwindow/MainUserPrompts.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QStringList>

namespace {

QString _Q(const std::string& text)
{
    return QString::fromUtf8(text.c_str(), static_cast<qsizetype>(text.size()));
}

std::string _S(const QString& text)
{
    return text.toUtf8().toStdString();
}

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
        for (const QString& file : QFileDialog::getOpenFileNames(_parent, _Q(title), _Q(startFolder), _Q(filter))) {
            files.push_back(_S(file));
        }
        return files;
    }
    std::string ChooseFile(const std::string& title, const std::string& filter,
                           const std::string& startFolder) override
    {
        return _S(QFileDialog::getOpenFileName(_parent, _Q(title), _Q(startFolder), _Q(filter)));
    }
    std::string ChooseFolder(const std::string& title, const std::string& /*button*/,
                             const std::string& startFolder) override
    {
        return _S(QFileDialog::getExistingDirectory(_parent, _Q(title), _Q(startFolder)));
    }
    std::string ChooseSaveFile(const std::string& title, const std::string& filters,
                               const std::string& /*defaultExtension*/, const std::string& startFolder) override
    {
        return _S(QFileDialog::getSaveFileName(_parent, _Q(title), _Q(startFolder), _Q(filters)));
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
