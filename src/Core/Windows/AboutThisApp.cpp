// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/AboutThisApp.h"

#include "Core/Platform/LogLine.h"
#include "Core/Volumes/CommonData.h"

namespace quillbox {

namespace {

std::unique_ptr<AboutThisApp> g_aboutThisApp;

}  // namespace

AboutThisApp& AboutThisApp::displayAboutThisApp() {
    if (!g_aboutThisApp) {
        g_aboutThisApp = std::make_unique<AboutThisApp>(Key{});
    }
    g_aboutThisApp->present();
    return *g_aboutThisApp;
}

void AboutThisApp::resetSharedInstance() {
    g_aboutThisApp.reset();
}

AboutThisApp::AboutThisApp(Key /*key*/)
    : WindowController("AboutThisApp"), bundleVersionText_(file().textField("bundleVersionText")) {
    connect<AboutThisApp>(*this, {{"closeWindow:", &AboutThisApp::closeWindow}});
    awakeFromNib();
}

void AboutThisApp::awakeFromNib() {
    std::string text = "Version:";
    appendText(text, platform().bundle.objectForInfoDictionaryKey(kCFBundleVersionKey));
    bundleVersionText_.setStringValue(text);
}

void AboutThisApp::closeWindow(const void* sender) {
    window().performClose(sender);
}

}  // namespace quillbox
