#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace Quillory {

// The per-user key-value store of settings and the recent list: one GKeyFile on disk, every key
// in one group. Each write saves the whole file at once (atomically); a save that fails is
// dropped silently, since neither settings nor the recent list report anything to the user.
// Main thread only. Keep one object per file: two objects on the same file overwrite each other.
class Preferences {
public:
    using Value = std::variant<std::string, double, bool>;

    // Reads `file` if it exists; a missing or damaged file starts empty. Nothing is written until
    // the first set.
    explicit Preferences(std::filesystem::path file);

    // $XDG_CONFIG_HOME/quillory/settings.ini, with ~/.config when XDG_CONFIG_HOME is unset.
    static std::filesystem::path standardLocation();
    // The process's preferences at the standard location.
    static Preferences& standard();

    const std::filesystem::path& file() const { return m_file; }

    // Values that reads give for keys that hold nothing. Not written to the file.
    void registerDefaults(const std::map<std::string, Value>& defaults);

    // The stored value of that type, else the registered default of that type, else nothing.
    std::optional<std::string> string(const std::string& key) const;
    std::optional<double> doubleValue(const std::string& key) const;
    std::optional<bool> boolean(const std::string& key) const;

    void setString(const std::string& key, const std::string& value);
    void setDouble(const std::string& key, double value);
    void setBoolean(const std::string& key, bool value);

private:
    void save();

    std::filesystem::path m_file;
    GRef<GKeyFile> m_keyFile;
    std::map<std::string, Value> m_defaults;
};

}
