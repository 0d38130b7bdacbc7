#pragma once

namespace QuilloryTest::PrivateXServer {

// Starts an Xvfb of this test process's own and points DISPLAY at it; returns false (DISPLAY
// untouched) when it can't. Tests run in parallel, and on a shared X server one test's text
// selection takes the PRIMARY selection from another's editor (which then drops its selection),
// and keyboard focus and the pointer are shared too. On its own server a test sees only itself.
// The server ends with the test process, however that ends.
bool start();

}
