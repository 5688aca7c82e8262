// Runs a pipeline of GStreamer's to its end: media of its own that a test makes, or looks into.
#pragma once

#include <functional>
#include <string>

#include <gst/gst.h>
#include <gtest/gtest.h>

namespace test {

/// Initialises GStreamer; a failure has its reason. `tag` writes what the whole is called into the
/// element "tags" of the description.
testing::AssertionResult runPipeline(const std::string& description,
                                     const std::function<void(GstTagSetter*)>& tag = nullptr);

} // namespace test
