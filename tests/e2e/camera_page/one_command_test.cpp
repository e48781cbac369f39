// One command that serves the page, finds the phone and shows it.
#include "tests/e2e/camera_page/CameraPageTest.h"

namespace camera_page {
namespace {

class CameraPageOneCommand : public CameraPageTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(CameraPageTest::SetUp());
        gate->Stop();  // the command has its own
        halyard = std::make_unique<e2e::ChildProcess>(
            HALYARD_PROGRAM,
            std::vector<std::string>{"--with-phones", "--panel", "--trace", folder / "trace"},
            std::vector<std::string>{"XDG_STATE_HOME=" + (folder / "state").string(),
                                     "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/bus"},
            e2e::ChildProcess::Input::Pipe);
    }

    // What stands in the line behind a text of the output.
    std::string Behind(const std::string& text) {
        EXPECT_TRUE(halyard->WaitForOutput(text, 30s)) << Said();
        const std::string output = halyard->Output();
        const std::size_t begin = output.find(text) + text.size();
        return output.substr(begin, output.find_first_of(" \n", begin) - begin);
    }
    bool PageShows(const std::string& state) const { return phone->WaitForState(state, 20s); }
    std::string Said() const { return halyard->Output() + halyard->Errors() + phone->Transcript(); }

    std::unique_ptr<e2e::ChildProcess> halyard;
};

TEST_F(CameraPageOneCommand, APhoneThatScansItsCodeIsLiveAndIsToldThatItIsOnAir) {
    const std::string page = Behind("phones: Phones open this page: ");
    const std::string code = Behind("phones: Code for the next phone: ");
    phone =
        StartPhone({page + "#pair=" + code, folder / "camera.y4m", folder / "microphone.wav", "", "", ""});
    ASSERT_TRUE(phone->WaitForState("live", kLaunchLimit)) << Said();
    EXPECT_TRUE(halyard->WaitForOutput(" live      ", kMediaLimit)) << Said();
    EXPECT_TRUE(halyard->WaitUntilOutput(TellsALevel, kMediaLimit)) << Said();
    halyard->Write("air on\n");
    EXPECT_TRUE(PageShows("air")) << Said();
    halyard->Write("air off\nquit\n");
    EXPECT_EQ(halyard->WaitForEnd(20s), 0) << "picture and sound came\n" << Said();
    EXPECT_EQ(Troubles(*phone), "");
}

}  // namespace
}  // namespace camera_page
