#include <apps/showcase/tour/Driver.h>
#include <support/accessibility/Tree.h>

#include <QFont>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <vector>

// showcase_walk WIDTHxHEIGHT FOLDER: the environment names the service.

Q_IMPORT_QML_PLUGIN(ShowcasePlugin)

namespace {

using tour::Driver;

void expect(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

using Visit = std::function<void(const QQuickItem& text, const QRectF& seen, double opacity)>;

/// Texts that somebody sees.
void visitTexts(const QQuickItem& item, const QRectF& within, double opacity, const Visit& visit) {
    opacity *= item.opacity();
    if (!item.isVisible() || opacity <= 0) return;
    const auto rect = item.mapRectToScene(item.boundingRect());
    const auto seen = item.clip() ? within.intersected(rect) : within;
    if (item.inherits("QQuickText") && seen.contains(rect.center())) visit(item, seen, opacity);
    for (const auto* child : item.childItems()) visitTexts(*child, seen, opacity, visit);
}

/// In the pieces that it is read in.
QStringList piecesOf(const QQuickItem& item) {
    auto text = item.property("text").toString();
    if (text.contains('<')) text = QTextDocumentFragment::fromHtml(text).toPlainText();
    static const QRegularExpression between(QStringLiteral("  ·  | · |↗|\\n"));
    return text.split(between, Qt::SkipEmptyParts);
}

/// Where its letters are in the window.
QRect lettersOf(const QQuickItem& text) {
    QRectF letters({}, QSizeF(text.property("contentWidth").toDouble(),
                              text.property("contentHeight").toDouble()));
    const Qt::Alignment across(text.property("effectiveHorizontalAlignment").toInt());
    const Qt::Alignment along(text.property("verticalAlignment").toInt());
    if (across & Qt::AlignRight) letters.moveRight(text.width());
    if (across & Qt::AlignHCenter) letters.moveLeft((text.width() - letters.width()) / 2);
    if (along & Qt::AlignBottom) letters.moveBottom(text.height());
    if (along & Qt::AlignVCenter) letters.moveTop((text.height() - letters.height()) / 2);
    letters.translate(text.property("leftPadding").toDouble(),
                      text.property("topPadding").toDouble());
    return text.mapRectToScene(letters).toAlignedRect();
}

/// By a popup, which lies over all else.
bool isCovered(const QQuickItem& text, const QRect& letters, const QQuickItem& all) {
    const auto& layers = all.childItems();
    const auto hides = [&](const QQuickItem* popup) {
        return popup->isVisible() && !popup->isAncestorOf(&text) &&
               popup->mapRectToScene(popup->boundingRect()).intersects(letters);
    };
    return std::any_of(layers.begin(), layers.end(), [&](const QQuickItem* layer) {
        const auto popups = layer->childItems();
        return layer->inherits("QQuickOverlay") && std::any_of(popups.begin(), popups.end(), hides);
    });
}

double luminance(const QColor& color) {
    const auto part = [](float value) {
        const double light = value;
        return light <= 0.03928 ? light / 12.92 : std::pow((light + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) +
           0.0722 * part(color.blueF());
}

/// How well a colour is told from what a picture shows around the letters, its worst quarter left
/// out: that is where letters reach.
double contrast(const QColor& ink, double opacity, const QRect& letters, const QImage& picture) {
    std::vector<double> found;
    const auto compare = [&](int x, int y) {
        const auto ground = picture.pixelColor(x, y);
        const auto mix = [&](int over, int under) {
            return static_cast<int>(std::lround(opacity * over + (1 - opacity) * under));
        };
        const double seen =
            luminance({mix(ink.red(), ground.red()), mix(ink.green(), ground.green()),
                       mix(ink.blue(), ground.blue())});
        const auto [less, more] = std::minmax({seen, luminance(ground)});
        found.push_back((more + 0.05) / (less + 0.05));
    };
    for (int x = letters.left(); x <= letters.right(); ++x) {
        compare(x, letters.top());
        compare(x, letters.bottom());
    }
    const auto quarter = found.begin() + static_cast<long>(found.size() / 4);
    std::nth_element(found.begin(), quarter, found.end());
    return *quarter;
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
        expect(faint_ == 0, "every text stands out from its ground");
    }

private:
    void ok() { driver_.key(Qt::Key_Return); }
    void back() { driver_.key(Qt::Key_Escape); }
    QString name() { return driver_.focused().objectName(); }
    QString page() const { return window_.property("page").toString(); }
    void shoot(const char* name) {
        driver_.pause(500);
        driver_.shoot(name);
        read(name);
        if (QGuiApplication::platformName() == "xcb") listen(name);
    }
    /// All texts stand out from what they stand on, by 4.5 to 1; large ones, which are those of 24
    /// bold pixels or 25 others, by 3 to 1.
    void read(const char* name) {
        const auto picture = window_.grabWindow();
        const QRectF all({}, QSizeF(window_.size()));
        const bool full = driver_.sees("player") && player().property("fullScreen").toBool();
        int count = 0;
        const auto check = [&](const QQuickItem& text, const QRectF& seen, double opacity) {
            const auto letters = lettersOf(text);
            if (piecesOf(text).isEmpty() || !text.isEnabled() || !seen.contains(letters)) return;
            if (isCovered(text, letters, *window_.contentItem())) return;
            ++count;
            const auto font = text.property("font").value<QFont>();
            const int large = font.weight() >= QFont::Bold ? 24 : 25;
            const auto color = text.property("color").value<QColor>();
            const double found = contrast(color, opacity * color.alphaF(), letters, picture);
            if (found >= (font.pixelSize() >= large ? 3 : 4.5)) return;
            std::printf("%s: %s has %.2f\n", name, qPrintable(text.property("text").toString()),
                        found);
            ++faint_;
        };
        const bool own = driver_.sees("ownControls");
        const auto& root = own ? driver_.see("ownControls") : *window_.contentItem();
        if (own || !full) visitTexts(root, all, 1, check);
        expect((full && !own) || count > 2, "there is something to read");
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
        visitTexts(*window_.contentItem(), QRectF({}, QSizeF(window_.size())), 1,
                   [&](const auto& text, auto&&...) { pieces += piecesOf(text); });
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
        driver_.choose("ownToggle");
        expect(!player().property("playing").toBool(), "it does not end meanwhile");
        driver_.choose("ownMute");
        expect(player().property("muted").toBool(), "no sound");
        chooseSubtitles();
        driver_.choose("ownHelp");
        shoot("own-controls");
        back();
        expect(player().property("fullScreen").toBool(), "Back closes the help first");
        back();
        driver_.waitUntil("the class's page",
                          [&] { return !player().property("fullScreen").toBool(); });
        shoot("left-full-screen");
    }

    void chooseSubtitles() {
        const auto* const words = player().property("subtitles").value<QObject*>();
        driver_.choose("ownSubtitles");
        expect(name() == "subtitles-0", "a choice begins with what holds");
        press(Qt::Key_Up);
        press(Qt::Key_Right);
        expect(name() == "subtitles-0", "arrows stay in a choice");
        shoot("subtitle-choice");
        driver_.choose("subtitles-2");
        expect(name() == "ownSubtitles" && words->property("activeTrack") == 1, "English it is");
        driver_.waitUntil("words", [&] { return !words->property("text").toString().isEmpty(); });
        shoot("subtitles");
        driver_.choose("ownSubtitles");
        expect(name() == "subtitles-2", "and stays");
        back();
        expect(name() == "ownSubtitles", "Back leads out of a choice");
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
    int faint_ = 0;  ///< texts
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
