// A person's phone: a real browser on the camera page.
#pragma once

#include <string>

#include "tests/e2e/browser/NodeProgram.h"

namespace camera_page {

struct CameraPhoneOptions {
    std::string url;
    std::string cameraFile;  // with a microphone file; or
    std::string microphoneFile;
    std::string stampedSize;  // "640x360": a camera whose pictures tell when they were painted
    std::string locale;
    std::string modules;  // "failing" or "unknown": a browser that the page's modules do not run in
    bool canBeLocked = false;
};

class CameraPhone : public browser::NodeProgram {
public:
    explicit CameraPhone(const CameraPhoneOptions& options);

    // The newest state that the page shows; empty before it shows any. Tabs are numbered from 1.
    std::string State(int tab = 1) const { return Latest("state" + Suffix(tab)).state; }
    // Does the page show this now, in its sentences?
    bool Says(const std::string& text, int tab = 1) const;
    // How many of the phone's cameras and microphones the page holds.
    std::string HeldDevices(int tab = 1) const { return Latest("devices" + Suffix(tab)).state; }
    std::size_t Offers() const { return Count("offer"); }
    // Waits until the page shows a state; an older one that was it does not count when `after` events passed.
    bool WaitForState(const std::string& state, std::chrono::seconds limit, std::size_t after = 0);

    void Reload() { Write("reload"); }
    void Click(const std::string& selector) { Write("click " + selector); }
    void Choose(const std::string& selector, const std::string& value) {
        Write("choose " + selector + " " + value);
    }
    void Open(const std::string& url) { Write("open " + url); }
    // Waits for an element before it does anything else.
    void See(const std::string& selector) { Write("see " + selector); }
    void Turn() { Write("turn"); }
    void EndCamera() { Write("end-camera"); }
    // The screen goes dark: the phone takes the camera away, and the page stands still.
    void Lock() { Write("lock"); }
    void Unlock() { Write("unlock"); }
    // What follows is done in the new tab, or in the selected one.
    void OpenTab(const std::string& url) { Write("tab " + url); }
    void SelectTab(int tab) { Write("select " + std::to_string(tab)); }
    void MendModules() { Write("mend-modules"); }
    // Reads all that the page says: an event "survey".
    void Survey(const std::string& language) { Write("survey " + language); }
    // For eyes: into the folder that CAMERA_PAGE_PICTURES names; without one, nothing is done.
    void TakePicture(const std::string& name);

private:
    static std::string Suffix(int tab) { return tab == 1 ? "" : "." + std::to_string(tab); }
};

}  // namespace camera_page
