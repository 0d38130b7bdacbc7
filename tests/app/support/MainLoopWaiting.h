#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

typedef struct _WebKitWebView WebKitWebView;

namespace QuilloryTest {

// Runs the default main context until `condition` holds; false when `timeout` passed first.
// The timeout only bounds a broken test; no test asserts how fast anything is.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(30));

// Runs the default main context for a while, so that anything that would happen does.
void waitFor(std::chrono::milliseconds);

// Runs `body` as the body of an async JavaScript function in the page and returns its result
// as text (the function should return a string). Nothing when the evaluation fails or times out;
// `error` then says why.
std::optional<std::string> evaluateInPage(WebKitWebView*, const std::string& body, std::string* error = nullptr);

}
