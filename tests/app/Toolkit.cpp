// Puts the toolkit around all tests of a program, on a platform that needs no display.

#include <QApplication>

#include <gtest/gtest.h>

#include <memory>

namespace {

class Toolkit : public testing::Environment {
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_ACCESSIBILITY", "0");
        static int argumentCount = 1;
        static char name[] = "test";
        static char* arguments[] = {name, nullptr};
        m_application = std::make_unique<QApplication>(argumentCount, arguments);
        // The windows that come and go here are not the last ones of a program.
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void TearDown() override { m_application.reset(); }

    std::unique_ptr<QApplication> m_application;
};

const auto* const toolkit = testing::AddGlobalTestEnvironment(new Toolkit);

} // namespace
