#include <apps/showcase/tour/Driver.h>
#include <support/accessibility/Tree.h>

#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <cstdio>
#include <stdexcept>

// showcase_walk WIDTHxHEIGHT FOLDER: the environment names the service.

Q_IMPORT_QML_PLUGIN(ShowcasePlugin)

namespace {

using tour::Driver;

void expect(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

/// Texts that somebody sees, in the pieces that they are read in.
void collectSeen(const QQuickItem& item, const QRectF& within, QStringList& pieces) {
    if (!item.isVisible() || item.opacity() <= 0) return;
    const auto rect = item.mapRectToScene(item.boundingRect());
    const auto seen = item.clip() ? within.intersected(rect) : within;
    if (item.inherits("QQuickText") && seen.contains(rect.center())) {
        auto text = item.property("text").toString();
        if (text.contains('<')) text = QTextDocumentFragment::fromHtml(text).toPlainText();
        static const QRegularExpression between(QStringLiteral("  ·  | · |↗|\\n"));
        pieces += text.split(between, Qt::SkipEmptyParts);
    }
    for (const auto* child : item.childItems()) collectSeen(*child, seen, pieces);
}

class Walk {
public:
    Walk(QQuickWindow& window, const QString& folder) : window_(window), driver_(window, folder) {}

    void take() {
        signIn();
        shelves();
        pages();
        search();
        playToTheEnd();
        ownControls();
        home();
    }

private:
    void ok() { driver_.key(Qt::Key_Return); }
    void back() { driver_.key(Qt::Key_Escape); }
    QString name() { return driver_.focused().objectName(); }
    QString page() const { return window_.property("page").toString(); }
    void shoot(const char* name) {
        driver_.pause(500);
        driver_.shoot(name);
        if (QGuiApplication::platformName() == "xcb") listen(name);
    }
    /// A screen reader finds what is seen.
    void listen(const char* name) {
        const auto told = QString::fromStdString(korvel::tests::accessibilityTree());
        const bool full = driver_.sees("player") && player().property("fullScreen").toBool();
        const bool covered = full || driver_.sees("accept") || driver_.sees("startMembership");
        expect(told.contains("page tab list") != (covered || driver_.sees("browse")),
               "nobody hears what is covered");
        expect(told.contains("page tab \"Home\"") == told.contains("page tab list"),
               "tabs are tabs");
        expect(told.contains("link \"") == driver_.sees("accept"), "links are links");
        expect(told.contains("radio button \"Own controls\"") || !driver_.sees("segment-1"),
               "choices are choices");
        if (full) return;
        QStringList pieces;
        collectSeen(*window_.contentItem(), QRectF({}, QSizeF(window_.size())), pieces);
        for (const auto& piece : pieces) {
            static const QRegularExpression clock(QStringLiteral("^\\d+:\\d\\d$"));
            if (clock.match(piece).hasMatch()) continue;  // goes on meanwhile
            if (told.simplified().contains(piece.simplified(), Qt::CaseInsensitive)) continue;
            std::printf("%s\n", qPrintable(told));
            throw std::runtime_error(std::string(name) +
                                     " is seen to say what nobody hears: " + piece.toStdString());
        }
        expect(pieces.size() > 2, "there is something to read");
    }
    void press(Qt::Key key) {
        driver_.key(key);
        driver_.pause(250);
    }
    void spell(const char* text) {
        ok();
        for (const char* letter = text; *letter; ++letter) {
            driver_.choose(QStringLiteral("key-") + QLatin1Char(*letter));
        }
    }

    void signIn() {
        driver_.step("Sign in by letters to choose from");
        driver_.see("userName");
        expect(name() == "userName", "the field has the focus at the start");
        shoot("sign-in");
        spell("anna");
        shoot("letters");
        driver_.choose("key-done");
        driver_.waitUntil("the start page", [&] { return window_.property("pictured").toBool(); });
    }

    void shelves() {
        driver_.step("Shelves remember their places");
        expect(name() == "heroOpen", "the start page begins with what it opens with");
        shoot("home");
        press(Qt::Key_Down);
        press(Qt::Key_Right);
        press(Qt::Key_Right);
        const auto* const place = &driver_.focused();
        press(Qt::Key_Down);
        expect(&driver_.focused() != place, "Down leads to the next shelf");
        shoot("second-shelf");
        press(Qt::Key_Up);
        expect(&driver_.focused() == place, "a shelf leads back to where one was");
        for (int each = 0; each < 3; ++each) press(Qt::Key_Left);
        if (window_.width() > window_.height()) {
            expect(name() == "nav-home", "left of a shelf are the pages");
            press(Qt::Key_Right);
            expect(name() != "nav-home", "and right of them what the page shows");
        }
    }

    /// The remote control's own way there, from wherever one is.
    void go(const QString& where) {
        driver_.key(Qt::Key_Menu);
        driver_.choose("nav-" + where);
        driver_.waitUntil("the page", [&] { return page() == where; });
    }

    void pages() {
        driver_.step("All pages, and back");
        go("classes");
        auto& grid = driver_.see("grid");
        driver_.waitUntil("classes", [&] { return grid.property("count").toInt() >= 24; });
        press(Qt::Key_Down);
        press(Qt::Key_Right);
        shoot("classes");
        go("membership");
        driver_.see("read-newsletter-2023");
        shoot("membership");
        driver_.walkTo(driver_.see("read-newsletter-2023"));
        shoot("membership-end");
        back();
        driver_.waitUntil("the page before", [&] { return page() == "classes"; });
        back();
        driver_.waitUntil("the first page", [&] { return page() == "home"; });
    }

    void search() {
        driver_.step("Search what is not there, and out of that");
        go("search");
        driver_.walkTo(driver_.see("search"));
        shoot("search");
        spell("zz");
        driver_.choose("key-done");
        driver_.see("wayOut");
        shoot("nothing-found");
        driver_.choose("wayOut");
        driver_.waitUntil("classes again", [&] { return !driver_.sees("wayOut"); });
        driver_.choose("duration");
        shoot("choices");
        press(Qt::Key_Down);
        ok();
        expect(name() == "duration", "a choice leads back to its criterion");
        shoot("found");
        back();
    }

    QQuickItem& player() { return driver_.see("player"); }
    double position() { return player().property("position").toDouble(); }
    bool active() { return player().property("active").toBool(); }
    void waitForPlayback() {
        driver_.waitUntil("the class plays", [&] { return active() && position() > 0.5; });
    }

    void playToTheEnd() {
        driver_.step("A class for members, full screen, to its end");
        driver_.waitUntil("the first page", [&] { return page() == "home"; });
        driver_.walkTo(driver_.hear(QStringLiteral("Kurzhantel-Grundkurs f\u00fcr Anf\u00e4nger")));
        ok();
        driver_.see("stage");
        expect(name() == "play", "a class can be played at once");
        shoot("class");
        ok();
        driver_.see("accept");
        expect(name() == "accept", "a dialog has the focus");
        press(Qt::Key_Up);
        expect(name() != "accept", "its links can be reached");
        shoot("consent");
        driver_.choose("accept");
        driver_.see("startMembership");
        shoot("members-only");
        ok();
        waitForPlayback();
        if (!player().property("fullScreen").toBool()) {
            shoot("playing");
            driver_.choose("fullScreen");
        }
        driver_.waitUntil("full screen", [&] { return player().property("fullScreen").toBool(); });
        waitForPlayback();
        shoot("full-screen");
        finish();
        driver_.see("saved");
        driver_.waitUntil("the record", [&] {
            return driver_.see("saved").property("text").toString() == "It is saved.";
        });
        driver_.focused();
        shoot("finished");
    }

    /// On to the end, by arrows, once OK has shown the controls.
    void finish() {
        constexpr int most = 110;  // each is a hundredth
        constexpr double rest = 2;
        const double end = player().property("duration").toDouble() - rest;
        ok();
        driver_.walkTo(driver_.hear("Position"));
        int keys = 0;
        for (; keys < most && active() && position() < end; ++keys) {
            driver_.key(Qt::Key_Right);
            driver_.pause(40);
        }
        expect(keys < most, "arrows seek full screen");
        driver_.waitUntil("the end of the class", [&] { return !active(); });
    }

    void ownControls() {
        driver_.step("The application's own controls");
        driver_.choose("segment-1");
        driver_.choose("play");
        waitForPlayback();
        if (!player().property("fullScreen").toBool()) driver_.choose("fullScreen");
        driver_.waitUntil("full screen", [&] { return player().property("fullScreen").toBool(); });
        driver_.see("ownRest");
        driver_.waitUntil("the controls hide", [&] { return !driver_.sees("ownToggle"); });
        ok();
        driver_.see("ownToggle");
        const double before = position();
        driver_.choose("ownForward");
        driver_.waitUntil("ten seconds on", [&] { return position() > before + 9; });
        driver_.choose("ownMute");
        expect(player().property("muted").toBool(), "no sound");
        driver_.choose("ownHelp");
        shoot("own-controls");
        back();
        expect(player().property("fullScreen").toBool(), "Back closes the help first");
        back();
        driver_.waitUntil("the class's page",
                          [&] { return !player().property("fullScreen").toBool(); });
        shoot("left-full-screen");
    }

    void home() {
        driver_.step("Home again");
        back();
        driver_.waitUntil("the first page", [&] { return !driver_.sees("stage"); });
        expect(page() == "home", "back leads to where the class was found");
        driver_.focused();
        shoot("home-again");
    }

    QQuickWindow& window_;
    Driver driver_;
};

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    int width = 0;
    int height = 0;
    if (argc != 3 || std::sscanf(argv[1], "%dx%d", &width, &height) != 2) {
        std::fputs("usage: showcase_walk WIDTHxHEIGHT FOLDER\n", stderr);
        return 2;
    }
    return tour::run("walk", {{"width", width}, {"height", height}}, [&](QQuickWindow& window) {
        Walk(window, QString::fromLocal8Bit(argv[2])).take();
    });
}
