#include "QuilloryApp/Support/Preferences.h"

#include <glib.h>

#include <cstdlib>
#include <system_error>

namespace Quillory {

namespace {

constexpr const char* groupName = "Quillory";

}

Preferences::Preferences(std::filesystem::path file)
    : m_file(std::move(file))
    , m_keyFile(GRef<GKeyFile>::adopt(g_key_file_new()))
{
    // A missing or damaged file starts empty; the next save replaces it.
    GError* error = nullptr;
    if (!g_key_file_load_from_file(m_keyFile.get(), m_file.c_str(), G_KEY_FILE_KEEP_COMMENTS, &error)) {
        g_clear_error(&error);
        m_keyFile = GRef<GKeyFile>::adopt(g_key_file_new());
    }
}

std::filesystem::path Preferences::standardLocation()
{
    // g_get_user_config_dir() applies the XDG rule: $XDG_CONFIG_HOME, else ~/.config.
    return std::filesystem::path(g_get_user_config_dir()) / "quillory" / "settings.ini";
}

Preferences& Preferences::standard()
{
    static Preferences preferences(standardLocation());
    return preferences;
}

void Preferences::registerDefaults(const std::map<std::string, Value>& defaults)
{
    for (const auto& [key, value] : defaults)
        m_defaults.insert_or_assign(key, value);
}

std::optional<std::string> Preferences::string(const std::string& key) const
{
    GError* error = nullptr;
    if (char* value = g_key_file_get_string(m_keyFile.get(), groupName, key.c_str(), &error)) {
        std::string result(value);
        g_free(value);
        return result;
    }
    g_clear_error(&error);
    if (auto found = m_defaults.find(key); found != m_defaults.end()) {
        if (const auto* value = std::get_if<std::string>(&found->second))
            return *value;
    }
    return std::nullopt;
}

std::optional<double> Preferences::doubleValue(const std::string& key) const
{
    GError* error = nullptr;
    double value = g_key_file_get_double(m_keyFile.get(), groupName, key.c_str(), &error);
    if (!error)
        return value;
    g_clear_error(&error);
    if (auto found = m_defaults.find(key); found != m_defaults.end()) {
        if (const auto* defaultValue = std::get_if<double>(&found->second))
            return *defaultValue;
    }
    return std::nullopt;
}

std::optional<bool> Preferences::boolean(const std::string& key) const
{
    GError* error = nullptr;
    gboolean value = g_key_file_get_boolean(m_keyFile.get(), groupName, key.c_str(), &error);
    if (!error)
        return value != FALSE;
    g_clear_error(&error);
    if (auto found = m_defaults.find(key); found != m_defaults.end()) {
        if (const auto* defaultValue = std::get_if<bool>(&found->second))
            return *defaultValue;
    }
    return std::nullopt;
}

void Preferences::setString(const std::string& key, const std::string& value)
{
    g_key_file_set_string(m_keyFile.get(), groupName, key.c_str(), value.c_str());
    save();
}

void Preferences::setDouble(const std::string& key, double value)
{
    g_key_file_set_double(m_keyFile.get(), groupName, key.c_str(), value);
    save();
}

void Preferences::setBoolean(const std::string& key, bool value)
{
    g_key_file_set_boolean(m_keyFile.get(), groupName, key.c_str(), value);
    save();
}

void Preferences::save()
{
    std::error_code ignored;
    std::filesystem::create_directories(m_file.parent_path(), ignored);
    // g_key_file_save_to_file replaces the file atomically. Preferences report nothing to the user.
    GError* error = nullptr;
    if (!g_key_file_save_to_file(m_keyFile.get(), m_file.c_str(), &error))
        g_clear_error(&error);
}

}
