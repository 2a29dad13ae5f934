#include "FirstPicture.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>

// The pages and the SDK's module are linked in, so nothing has to be found on disk.
Q_IMPORT_QML_PLUGIN(ShowcasePlugin)

namespace {

/// An option, or a variable of the environment in its place.
struct Setting {
    const char* name;
    const char* variable;
    const char* key;  ///< as KorvelContent.configure calls it
    const char* description;
};
constexpr Setting settings[] = {
    {"url", "KORVEL_URL", "baseURL", "Address of the service, with a / at its end"},
    {"api-key", "KORVEL_API_KEY", "apiKey", "API key of this client"},
    {"secret-key", "KORVEL_SECRET_KEY", "secretKey", "Its secret key"},
    {"tenant", "KORVEL_TENANT", "tenantId", "Its tenant"},
    {"ca", "KORVEL_CA", "certificateAuthorityFile", "Authority to trust (PEM)"},
    {"data-folder", "KORVEL_DATA_FOLDER", "dataFolder", "Folder for secrets and events"},
    {"audio-sink", "KORVEL_AUDIO_SINK", "audioSink", "Element of GStreamer that sound goes to"}};

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    for (const auto& each : settings) {
        parser.addOption({QLatin1String(each.name), QLatin1String(each.description), "VALUE"});
    }
    parser.addOption({"user", "Who is logged in at the start (KORVEL_USER)", "NAME"});
    parser.addOption({"ten-foot", "For a television: large, with margins, full screen"});
    parser.addOption({"developer", "Also show ids, what the player says, what was recorded"});
    parser.addOption({"report-first-picture", "Print first_picture_ms and end"});
    parser.process(application);

    QVariantMap configuration{{"applicationName", "korvel-showcase"}, {"quiet", true}};
    for (const auto& each : settings) {
        const auto given =
            parser.isSet(each.name) ? parser.value(each.name) : qEnvironmentVariable(each.variable);
        if (!given.isEmpty()) configuration.insert(each.key, given);
    }
    const auto user =
        parser.isSet("user") ? parser.value("user") : qEnvironmentVariable("KORVEL_USER");
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{"settings", configuration},
                                 {"user", user},
                                 {"tenFoot", parser.isSet("ten-foot")},
                                 {"developer", parser.isSet("developer")}});
    engine.load(QStringLiteral("qrc:/qt-project.org/imports/Showcase/Main.qml"));
    if (engine.rootObjects().isEmpty()) return 1;
    if (parser.isSet("report-first-picture")) reportFirstPicture(*engine.rootObjects().first());
    return QGuiApplication::exec();
}
