#include <QSettings>
#include <QStringList>

#include "app/engine/Policy.h"
#include "app/engine/QtText.h"

namespace tesselex {

// Where group policy and deployment tools put a program's machine-wide settings; only an
// administrator writes there. No override: a user must not be able to step around it.
Policy Policy::Machine() {
    return FromRegistry(u"HKEY_LOCAL_MACHINE\\Software\\Policies\\TESSELEX");
}

Policy Policy::FromRegistry(std::u16string_view key) {
    const QSettings store(ToQString(key), QSettings::NativeFormat);
    Values values;
    for (const QString& name : store.childKeys()) {
        // A REG_DWORD reads as its number, as an administrator would mean it.
        values.emplace_back(ToText(name), ToText(store.value(name).toString()));
    }
    return Policy(values, std::u16string(key));
}

}  // namespace tesselex
