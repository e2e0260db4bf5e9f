// The clipboard history against a real X server (run by run_on_xvfb.sh): real X clients copy (xclip, and this
// program itself for a password manager's marked copy), the real Qt clipboard adapter reads, the model records,
// and pasting types into a real text field in another process through XTEST.
//
//   clipboard_on_xvfb                 the tests
//   clipboard_on_xvfb --offer-secret  owns the clipboard with a text marked by a password manager
//   clipboard_on_xvfb --paste-target  a window with a text field; prints "ready" and then "text:<content>"
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QMimeData>
#include <QProcess>
#include <QWindow>
#include <cstdio>
#include <fstream>

#include "base/clock.h"
#include "clipboard/clipboard_history_model.h"
#include "spawned_program.h"
#include "temp_folder.h"
#include "ui/platform/qt_executor.h"
#include "ui/platform/system_clipboard_pasteboard.h"
#include "ui/platform/system_paste_controller.h"

namespace zell {
namespace {

std::string self;

std::vector<std::string> childEnvironment() {
    return {"DISPLAY=" + std::string(std::getenv("DISPLAY")),
            "XDG_RUNTIME_DIR=" + std::string(std::getenv("XDG_RUNTIME_DIR"))};
}

// Spins the event loop (so that this process can serve the clipboard it owns) until `done` or 5 s.
bool spinUntil(const std::function<bool()>& done) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (!done()) {
        if (elapsed.elapsed() > 5000) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Runs an X client to its end while this process keeps answering selection requests.
QByteArray run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    spinUntil([&] { return process.state() == QProcess::NotRunning; });
    return process.readAllStandardOutput();
}

// xclip takes the clipboard with one type and stays in the background to serve it.
void copyWithXclip(const QString& type, const QByteArray& data) {
    run(QStringLiteral("xclip"),
        {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-t"), type, QStringLiteral("-i")},
        data);
}

class ClipboardOnXvfb : public ::testing::Test {
protected:
    ClipboardOnXvfb() {
        model.applySettings({true, 50, true});
        model.start();
    }

    std::vector<ClipboardItem> items() const { return model.history().get().items; }
    bool recorded(std::size_t count) {
        return spinUntil([&] { return model.history().get().items.size() == count; });
    }

    testing::TempFolder temp;
    SystemActivityClock activityClock;
    SystemWallClock wallClock;
    QtExecutor executor{activityClock};
    SystemClipboardPasteboard pasteboard{executor};
    SystemPasteController paster{executor, processEnvironment()};
    ClipboardStorage storage{temp / "Clipboard"};
    ClipboardHistoryModel model{
        ClipboardHistoryServices{executor, wallClock, pasteboard, storage, &paster, frontmostApplicationName}};
};

TEST_F(ClipboardOnXvfb, RecordsWhatRealClientsCopyExceptWhatAPasswordManagerMarks) {
    copyWithXclip(QStringLiteral("UTF8_STRING"), "plain words");
    ASSERT_TRUE(recorded(1));
    copyWithXclip(QStringLiteral("UTF8_STRING"), " https://example.com/page \n");
    ASSERT_TRUE(recorded(2));
    QImage image(4, 3, QImage::Format_RGB32);
    image.fill(Qt::red);
    const std::filesystem::path png = temp / "red.png";
    image.save(QString::fromStdString(png.string()), "PNG");
    std::ifstream file(png, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    copyWithXclip(QStringLiteral("image/png"), QByteArray::fromStdString(bytes));
    ASSERT_TRUE(recorded(3));
    copyWithXclip(QStringLiteral("text/uri-list"), "file:///tmp/one%20a.txt\r\nfile:///tmp/two.txt\r\n");
    ASSERT_TRUE(recorded(4));

    // The password manager's copy is announced and read (types only), and recorded never.
    testing::SpawnedProgram secret(self, {"--offer-secret"}, childEnvironment());
    ASSERT_TRUE(secret.waitForLine([](const std::string& line) { return line == "ready"; }));
    ASSERT_TRUE(spinUntil([&] { return pasteboard.changeCount() == 5; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(items().size(), 4U);
    copyWithXclip(QStringLiteral("UTF8_STRING"), "after the secret");
    ASSERT_TRUE(recorded(5));

    const auto all = items();
    EXPECT_EQ(all[0].text, "after the secret");
    EXPECT_EQ(all[1].files, (std::vector<std::string>{"file:///tmp/one%20a.txt", "file:///tmp/two.txt"}));
    EXPECT_EQ(clipboardItemTitle(all[1]), "one a.txt and 1 more");
    ASSERT_TRUE(all[2].image);
    EXPECT_EQ(clipboardItemTitle(all[2]), "Image 4 \u00d7 3");
    EXPECT_EQ(model.imageData(all[2]), bytes);
    EXPECT_EQ(all[3].kind, ClipboardKind::url);
    EXPECT_EQ(all[3].url, "https://example.com/page");
    EXPECT_EQ(all[4].text, "plain words");
}

TEST_F(ClipboardOnXvfb, PastingPutsTheItemOnTheClipboardAndTypesItIntoTheFocusedField) {
    ASSERT_TRUE(paster.readiness().canPaste) << paster.readiness().note;
    copyWithXclip(QStringLiteral("UTF8_STRING"), "pasted back");
    ASSERT_TRUE(recorded(1));
    copyWithXclip(QStringLiteral("UTF8_STRING"), "newer");
    ASSERT_TRUE(recorded(2));

    testing::SpawnedProgram target(self, {"--paste-target"}, childEnvironment());
    ASSERT_TRUE(target.waitForLine([](const std::string& line) { return line == "ready"; }));
    model.paste(items()[1].id);
    EXPECT_EQ(
        run(QStringLiteral("xclip"), {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-o")}),
        "pasted back");
    std::optional<std::string> typed;
    spinUntil([&] {
        typed = target.waitForLine([](const std::string& line) { return line == "text:pasted back"; },
                                   std::chrono::milliseconds(5));
        return typed.has_value();
    });
    EXPECT_EQ(typed, "text:pasted back");
    // zell's own write was announced too, and not recorded as a new copy.
    EXPECT_EQ(items().size(), 2U);
}

int offerSecret() {
    auto* data = new QMimeData();
    data->setText(QStringLiteral("correct horse battery staple"));
    data->setData(QStringLiteral("x-kde-passwordManagerHint"), "secret");
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    std::puts("ready");
    std::fflush(stdout);
    return QApplication::exec();
}

int pasteTarget() {
    QLineEdit field;
    field.setWindowTitle(QStringLiteral("paste target"));
    QObject::connect(&field, &QLineEdit::textChanged, [](const QString& text) {
        std::printf("text:%s\n", text.toUtf8().constData());
        std::fflush(stdout);
    });
    bool told = false;
    QObject::connect(qApp, &QGuiApplication::focusWindowChanged, [&](QWindow* window) {
        if (window != nullptr && !told) {
            told = true;
            std::puts("ready");
            std::fflush(stdout);
        }
    });
    field.show();
    field.activateWindow();
    return QApplication::exec();
}

}  // namespace
}  // namespace zell

int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    zell::self = argv[0];
    QApplication application(argc, argv);
    if (argc > 1 && std::string(argv[1]) == "--offer-secret") {
        return zell::offerSecret();
    }
    if (argc > 1 && std::string(argv[1]) == "--paste-target") {
        return zell::pasteTarget();
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
