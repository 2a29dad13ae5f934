#pragma once

class QObject;

/// Prints how many milliseconds after the start of the process the window first showed the
/// catalogue with the picture that it opens with, and ends the application.
void reportFirstPicture(QObject& window);
