#include "Driver.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QQmlExtensionPlugin>
#include <cstdio>
#include <memory>
#include <string>

// Takes the showcase through an evening with the service, by mouse and keyboard, and leaves a
// picture of every stage: korvel-showcase-tour FOLDER. The environment names the service.

Q_IMPORT_QML_PLUGIN(ShowcasePlugin)

namespace {

using tour::Driver;

class Tour {
public:
    Tour(QQuickWindow& window, const QString& folder) : window_(window), driver_(window, folder) {}

    void take() {
        logIn();
        browse();
        search();
        startProtectedClass();
        tapAndSeek();
        fullScreen();
        close();
        ownControls();
        slowStart();
        otherPages();
        failure();
        portrait();
    }

private:
    void logIn() {
        driver_.step("Log in");
        driver_.see("userName");
        driver_.shoot("sign-in");
        driver_.type("anna");
        driver_.key(Qt::Key_Return);
        driver_.see("shelves");
        driver_.waitUntil("the start page's pictures",
                          [&] { return window_.property("pictured").toBool(); });
    }

    void browse() {
        driver_.step("Browse");
        driver_.pause(600);
        driver_.shoot("home");
        driver_.key(Qt::Key_Down);
        driver_.key(Qt::Key_Right);
        driver_.key(Qt::Key_Right);
        driver_.pause(700);
        driver_.shoot("home-by-keyboard");
        driver_.click(driver_.see("nav-classes"));
        auto& grid = driver_.see("grid");
        driver_.waitUntil("the first page", [&] { return grid.property("count").toInt() >= 24; });
        driver_.scroll(grid, 60);
        driver_.waitUntil("the second page", [&] { return grid.property("count").toInt() >= 48; });
        driver_.pause(900);
        driver_.shoot("all-classes");
    }

    void search() {
        driver_.step("Search");
        driver_.click(driver_.see("nav-search"));
        driver_.click(driver_.see("search"));
        driver_.type("strength");
        auto& grid = driver_.see("grid");
        driver_.pause(700);
        driver_.click(driver_.see("duration"));
        driver_.pause(300);
        driver_.shoot("search-filter");
        driver_.key(Qt::Key_Down);
        driver_.key(Qt::Key_Down);
        driver_.key(Qt::Key_Return);
        driver_.pause(800);
        driver_.waitUntil("matches", [&] { return grid.property("count").toInt() > 0; });
        driver_.shoot("search-results");
        driver_.click(driver_.see("search"));
        driver_.type("zzz");
        driver_.pause(800);
        driver_.shoot("search-nothing");
    }

    void startProtectedClass() {
        driver_.step("Start a protected class");
        driver_.click(driver_.see("nav-home"));
        driver_.key(Qt::Key_Down);
        driver_.pause(300);
        driver_.click(driver_.hear("Kurzhantel-Grundkurs f\u00fcr Anf\u00e4nger"));
        driver_.see("stage");
        driver_.pause(700);
        driver_.shoot("class");
        driver_.click(driver_.see("play"));
        driver_.step("Accept the consent document that the service asks for");
        auto& accept = driver_.see("accept");
        driver_.pause(500);
        driver_.shoot("consent");
        driver_.click(accept);
        driver_.step("Become a member, without whom it does not play");
        auto& start = driver_.see("startMembership");
        driver_.pause(500);
        driver_.shoot("membership-needed");
        driver_.click(start);
        waitForPlayback();
        driver_.pause(1200);
        driver_.shoot("playing");
    }

    QQuickItem& player() { return driver_.see("player"); }
    double position() { return player().property("position").toDouble(); }

    void waitForPlayback() {
        driver_.waitUntil("the class plays", [&] {
            auto& item = driver_.see("player");
            return item.property("active").toBool() && item.property("position").toDouble() > 0.5;
        });
    }

    void tapAndSeek() {
        driver_.step("Tap: the controls come");
        auto& stage = driver_.see("stage");
        driver_.click(stage.mapToScene({stage.width() / 2, stage.height() * 0.3}));
        driver_.pause(1300);
        driver_.shoot("controls");
        driver_.step("Seek by dragging");
        auto& slider = driver_.hear("Position");
        const double most = player().property("duration").toDouble();
        const auto at = [&](double seconds) {
            return slider.mapToScene(
                {14 + (slider.width() - 28) * seconds / most, slider.height() / 2});
        };
        driver_.drag(at(position()), at(most * 0.6));
        driver_.waitUntil("the place that the knob was dropped at",
                          [&] { return position() > most * 0.57 && position() < most * 0.75; });
        std::printf("   dropped at %.1f of %.1f s, plays at %.1f s\n", most * 0.6, most,
                    position());
        driver_.pause(900);
        driver_.shoot("sought");
    }

    void fullScreen() {
        driver_.step("Full screen");
        driver_.click(driver_.see("fullScreen"));
        driver_.waitUntil("full screen", [&] { return player().property("fullScreen").toBool(); });
        driver_.pause(1200);
        driver_.shoot("full-screen");
    }

    void close() {
        driver_.step("Close");
        driver_.click(driver_.hear("Close"));
        waitForClosing();
        driver_.pause(700);
        driver_.shoot("closed");
    }

    void waitForClosing() {
        driver_.waitUntil("the player's end",
                          [&] { return !player().property("active").toBool(); });
        std::printf("   performed %d s\n", player().property("performedSeconds").toInt());
    }

    void ownControls() {
        driver_.step("The application's own controls, in the page and full screen");
        driver_.click(driver_.see("segment-1"));
        driver_.click(driver_.see("play"));
        waitForPlayback();
        auto& stage = driver_.see("stage");
        driver_.moveTo(stage.mapToScene({stage.width() / 3, stage.height() / 3}));
        driver_.click(driver_.see("ownToggle"));
        driver_.waitUntil("the pause", [&] { return !player().property("playing").toBool(); });
        driver_.pause(600);
        driver_.shoot("own-controls");
        driver_.click(driver_.see("ownToggle"));
        driver_.click(driver_.see("ownFullScreen"));
        driver_.pause(1000);
        driver_.shoot("own-full-screen");
        driver_.click(driver_.see("ownFullScreen"));
        driver_.waitUntil("the page again",
                          [&] { return !player().property("fullScreen").toBool(); });
        driver_.pause(800);
        driver_.moveTo(stage.mapToScene({stage.width() / 2, stage.height() / 4}));
        driver_.pause(400);
        driver_.shoot("own-embedded-again");
        driver_.click(driver_.see("ownClose"));
        waitForClosing();
    }

    /// A start that takes long says so, and offers another.
    void slowStart() {
        driver_.step("A class that is slow to come");
        order(R"({"path": "/ondemand/v1/perform/", "delayMs": 7000})");
        driver_.click(driver_.see("play"));
        auto& again = driver_.see("startAgain");
        driver_.shoot("slow-start");
        driver_.click(again);
        waitForPlayback();
        driver_.moveTo(driver_.see("stage").mapToScene({40, 40}));
        driver_.click(driver_.see("ownClose"));
        waitForClosing();
    }

    void otherPages() {
        driver_.step("Membership and documents");
        driver_.click(driver_.see("nav-membership"));
        driver_.see("read-newsletter-2023");
        driver_.pause(400);
        driver_.shoot("membership");
        driver_.step("What the service recorded");
        driver_.click(driver_.see("nav-record"));
        driver_.pause(1200);
        driver_.shoot("record");
    }

    /// Whatever the service does is shown as such, with a way on.
    void failure() {
        driver_.step("A service that takes its time, and then refuses");
        order(R"({"path": "/ondemand/v1/classes", "status": 500, "delayMs": 1500,
                  "body": "{\"message\": \"We are moving house. Back in a minute.\"}"})");
        driver_.click(driver_.see("nav-classes"));
        driver_.click(driver_.see("sorting"));
        driver_.pause(300);
        driver_.key(Qt::Key_Down);
        driver_.key(Qt::Key_Return);
        driver_.see("retry");
        driver_.pause(300);
        driver_.shoot("refused");
        driver_.click(driver_.see("retry"));
        driver_.waitUntil("the classes", [&] { return !driver_.sees("retry"); });
    }

    /// Steers the development service.
    static void order(const QByteArray& script) {
        QNetworkAccessManager network;
        QNetworkRequest request(
            QUrl(qEnvironmentVariable("KORVEL_URL") + QStringLiteral("dev/script")));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        const std::unique_ptr<QNetworkReply> reply(network.post(request, script));
        QEventLoop loop;
        QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
    }

    /// A window that stands upright is turned for full screen, as a device would be.
    void portrait() {
        driver_.step("Upright, and turned for full screen");
        window_.resize(430, 880);
        driver_.pause(600);
        driver_.click(driver_.see("nav-home"));
        driver_.pause(900);
        driver_.shoot("upright-home");
        driver_.click(driver_.see("heroOpen"));
        driver_.pause(900);
        driver_.shoot("upright-class");
        driver_.click(driver_.see("fullScreen"));
        waitForPlayback();
        driver_.waitUntil("the turn", [&] { return window_.width() > window_.height(); });
        driver_.pause(900);
        driver_.shoot("turned");
        driver_.click({window_.width() / 2.0, window_.height() / 3.0});
        driver_.pause(1200);
        driver_.click(driver_.hear("Close"));
        driver_.waitUntil("the turn back", [&] { return window_.height() > window_.width(); });
        waitForClosing();
        for (const char* page : {"search", "membership", "record"}) {
            driver_.click(driver_.see(QStringLiteral("nav-") + page));
            driver_.pause(900);
            driver_.shoot((std::string("upright-") + page).c_str());
        }
    }

    QQuickWindow& window_;
    Driver driver_;
};

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: korvel-showcase-tour FOLDER\n", stderr);
        return 2;
    }
    return tour::run("tour", {{"developer", true}}, [&](QQuickWindow& window) {
        Tour(window, QString::fromLocal8Bit(argv[1])).take();
    });
}
