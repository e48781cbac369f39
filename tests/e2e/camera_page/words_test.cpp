// What the pages say: in the person's language, to those who see and to those who hear, and when nothing
// works.
#include <iostream>

#include "tests/e2e/camera_page/StampedPageTest.h"

namespace camera_page {
namespace {

class CameraPageStart : public CameraPageTest {
protected:
    void StartSpoilt(const std::string& modules, const std::string& locale) {
        phone = StartPhone({gate->PairUrl(), "", "", "", locale, modules});
    }
};

TEST_F(CameraPageStart, ABrowserInWhichTheModulesFailIsToldSo) {
    StartSpoilt("failing", "en-US");
    EXPECT_TRUE(ShowsSentence("The page does not start: try again, or update this browser.", 1, kLaunchLimit))
        << Logs();
    EXPECT_EQ(phone->State(), "off") << Logs();
    phone->TakePicture("failing-modules");
    // The code is not lost: once the modules run, the phone is paired.
    phone->MendModules();
    phone->Click("#problem-action");
    EXPECT_TRUE(Shows("waiting")) << Logs();
}

TEST_F(CameraPageStart, ABrowserWithoutModulesIsToldSoInItsLanguage) {
    StartSpoilt("unknown", "de-DE");
    EXPECT_TRUE(
        ShowsSentence("Dieser Browser ist zu alt: aktualisieren, oder Safari, Chrome oder Firefox nehmen.", 1,
                      kLaunchLimit))
        << Logs();
    phone->TakePicture("unknown-modules");
    phone->Survey("de");
    ASSERT_TRUE(host.RunUntil([this] { return phone->Count("survey") == 1; }, 10s)) << Logs();
    const std::string survey = phone->Latest("survey").text;
    EXPECT_NE(survey.find("\"foreign\":[]"), std::string::npos) << survey;
}

struct Tongue {
    std::string language;
    std::string locale;
    std::string wrongCode;  // what is said of it
    std::string openElsewhere;
    std::string unreachable;

    friend std::ostream& operator<<(std::ostream& to, const Tongue& tongue) { return to << tongue.language; }
};

class CameraPageWords : public CameraPageTest, public testing::WithParamInterface<Tongue> {
protected:
    // Every text in the page is of the language, and everything that can be operated has a name.
    void ExpectGoodWords(const std::string& where, int tab = 1) {
        const std::string event = tab == 1 ? "survey" : "survey." + std::to_string(tab);
        const std::size_t before = phone->Count(event);
        phone->TakePicture(GetParam().language + "-" + where);
        phone->Survey(GetParam().language);
        ASSERT_TRUE(host.RunUntil([&] { return phone->Count(event) > before; }, 20s)) << Logs();
        const std::string survey = phone->Latest(event).text;
        std::cout << where << ": " << survey << "\n";
        EXPECT_NE(survey.find("\"language\":\"" + GetParam().language + "\""), std::string::npos)
            << where << survey;
        EXPECT_NE(survey.find("\"foreign\":[]"), std::string::npos) << where << survey;
        EXPECT_NE(survey.find("\"nameless\":[]"), std::string::npos) << where << survey;
        EXPECT_EQ(survey.find("\"operated\":0,"), std::string::npos) << where << survey;
        EXPECT_EQ(survey.find("\"texts\":0,"), std::string::npos) << where << survey;
    }

    bool Say(const std::string& sentence, int tab = 1) { return ShowsSentence(sentence, tab, kLaunchLimit); }
};

TEST_P(CameraPageWords, AreOfOneLanguageAndForScreenReadersToo) {
    phone = StartPhone({gate->Url() + "#pair=AAAA-AAAA", "", "", "640x360", GetParam().locale, ""});
    ASSERT_TRUE(Say(GetParam().wrongCode)) << Logs();
    ExpectGoodWords("wrong-code");

    phone->Open(gate->PairUrl());
    ASSERT_TRUE(Shows("waiting")) << Logs();
    const auto pictures = std::make_shared<StampedPictures>();
    const auto source = host.Host().Sources().Add(kFirstPhone);
    host.Host().Puller().Add(source, pictures);
    ASSERT_TRUE(Shows("live", 1, kMediaLimit)) << Logs();
    phone->Click("#mute-camera");
    phone->Click("#mute-microphone");
    host.Host().Sources().SetTally(source->Identifier(), host_runtime::TallyState::Program);
    ASSERT_TRUE(Shows("air")) << Logs();
    ExpectGoodWords("air");
    phone->Click("#open-settings");
    ExpectGoodWords("settings");
    phone->Click("#close-settings");

    phone->OpenTab(gate->Url());
    ASSERT_TRUE(Say(GetParam().openElsewhere, 2)) << Logs();
    ExpectGoodWords("open-elsewhere", 2);
    phone->Open(gate->Url() + "page/certificate.html");
    ExpectGoodWords("certificate", 2);
    phone->Open(gate->OperatorUrl());
    phone->See("#phones button");
    ExpectGoodWords("operator", 2);

    phone->SelectTab(1);
    gate->Stop();
    ASSERT_TRUE(Say(GetParam().unreachable)) << Logs();
    ExpectGoodWords("unreachable");
}

INSTANTIATE_TEST_SUITE_P(
    In, CameraPageWords,
    testing::Values(
        Tongue{"de", "de-DE", "Der Code ist falsch: prüfen und noch einmal eintippen.",
               "Die Kamera ist schon in einem anderen Tab geöffnet.",
               "Der Computer ist nicht erreichbar: ist er an, und ist dieses Handy im selben Netz?"},
        Tongue{"es", "es-ES", "El código no es correcto: compruébalo y escríbelo otra vez.",
               "La cámara ya está abierta en otra pestaña.",
               "No se llega al ordenador: ¿está encendido y está este móvil en la misma red?"}),
    [](const auto& tongue) { return tongue.param.language; });

}  // namespace
}  // namespace camera_page
