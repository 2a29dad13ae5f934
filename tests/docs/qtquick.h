#pragma once

// What the examples of a Qt host take for granted.
#include "docs/prelude.h"

#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>

#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

inline int argc = 0;
inline char** argv = nullptr;
inline korvel::platform::ScreenHostQtQuick* host = nullptr;
inline QQuickItem* playerPlace = nullptr;
inline QQuickItem* ownControls = nullptr;
inline void turnLayout(int) {}
inline void pauseBackground(bool) {}
