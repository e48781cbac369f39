#pragma once

#include <gst/gst.h>

#include <string_view>

namespace webrtc_gstreamer {

// The name of the factory, such as "queue"; empty for an element that none has made.
inline std::string_view FactoryNameOf(GstElement* element) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    if (factory == nullptr) return {};
    return gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory));
}

}  // namespace webrtc_gstreamer
