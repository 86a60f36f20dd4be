#include "tests/ui/desktop_test.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace postkite::ui {

Person::Person() {
    QObject::connect(&timer_, &QTimer::timeout, [this] { Look(); });
    timer_.start(1);
}

Person::~Person() {
    for (const Expected& missed : expected_)
        ADD_FAILURE() << "never came: " << (missed.act ? "a dialog" : missed.text.toStdString());
}

void Person::ClicksOk(const QString& text) {
    expected_.push_back({text, true, {}});
}

void Person::ClicksCancel(const QString& text) {
    expected_.push_back({text, false, {}});
}

void Person::Meets(std::function<void(QDialog&)> act) {
    expected_.push_back({{}, true, std::move(act)});
}

void Person::Look() {
    QWidget* widget = QApplication::activeModalWidget();
    auto* dialog = qobject_cast<QDialog*>(widget);
    if (dialog == nullptr || !dialog->isVisible()) return;
    if (std::find(seen_.begin(), seen_.end(), widget) != seen_.end()) return;
    seen_.push_back(widget);
    QObject::connect(widget, &QObject::destroyed, &timer_, [this, widget] { std::erase(seen_, widget); });
    auto* box = qobject_cast<QMessageBox*>(dialog);
    if (expected_.empty()) {
        ADD_FAILURE() << "unexpected: "
                      << (box != nullptr ? box->text() : dialog->windowTitle()).toStdString();
        dialog->reject();
        return;
    }
    const Expected expected = std::move(expected_.front());
    expected_.pop_front();
    if (expected.act) {
        if (box != nullptr) ADD_FAILURE() << "a box and no dialog: " << box->text().toStdString();
        expected.act(*dialog);
        if (dialog->isVisible()) {
            ADD_FAILURE() << "still open: " << dialog->windowTitle().toStdString();
            dialog->reject();
        }
        return;
    }
    QPushButton* button = nullptr;
    if (box != nullptr) {
        EXPECT_TRUE(box->text().contains(expected.text))
            << "shown: " << box->text().toStdString() << "\nexpected: " << expected.text.toStdString();
        button = qobject_cast<QPushButton*>(box->button(expected.ok ? QMessageBox::Ok : QMessageBox::Cancel));
    }
    if (button == nullptr) {
        ADD_FAILURE() << "no such button: " << expected.text.toStdString();
        dialog->reject();
        return;
    }
    button->click();
}

DesktopTest::DesktopTest() {
    EXPECT_EQ(directory_.Make(), 0);
    workspace_ = std::make_unique<core::Workspace>(fileSystem_, directory_.path() / "mail");
    programState_ = std::make_unique<core::Workspace>(fileSystem_, directory_.path() / "state");
    EXPECT_EQ(workspace_->Prepare(), 0);
    StartProgram();
    EXPECT_EQ(program_->OpenBank(), 0);
}

void DesktopTest::StartProgram() {
    program_ = std::make_unique<app::Program>(*workspace_, *programState_, ui_, clock_, port_);
    program_->Start();
    EXPECT_EQ(program_->PrepareChange(), 0);
    ui_.SetSurroundings(*workspace_, program_->settings());
    desktop_ = std::make_unique<Desktop>(Desktop{*workspace_, *program_, ui_, fileSystem_});
}

void DesktopTest::AddMail(std::string_view folder, std::string_view subject, std::string_view body,
                          std::string_view flags) {
    store::MailRecord record;
    record.flags = flags;
    record.address = "PKT00021";
    record.name = "Mori, Aya";
    record.date = "97/01/23 04:05";
    record.subject = subject;
    record.body = body;
    ASSERT_EQ(program_->mailbox().AppendMail(folder, record, -1), 0);
}

store::MailListEntry DesktopTest::Entry(std::string_view folder, int number) {
    store::MailListEntry entry;
    EXPECT_EQ(program_->mailbox().ReadListEntry(folder, number, entry), 0) << "mail " << number;
    return entry;
}

std::string DesktopTest::FileBytes(const std::string& name) const {
    std::ifstream file(workspace_->root() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void DesktopTest::WriteFile(const std::string& name, std::string_view bytes) const {
    const std::filesystem::path path = workspace_->root() / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace postkite::ui
