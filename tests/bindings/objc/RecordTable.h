#import <KorvelContentSDK/KorvelContentSDK.h>

enum Kind { Text, Number, Truth, Texts, Classes, Items, Links, Values, OneClass };
struct RecordProperty {
    const char* className;
    const char* name;
    enum Kind kind;
};
extern const struct RecordProperty recordTable[];

#ifdef __cplusplus
extern "C"
#endif
    /// A new one, made as the service's answers make it, or by its initialiser.
    KCSDKObject*
    recordOfClass(const char* className);
id sampleOf(enum Kind kind);
