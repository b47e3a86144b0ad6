#include "composition/CompositionControls.h"

#include "composition/CompositionServices.h"
#include "composition/MarvoTimelineController.h"

namespace marvo {

CompositionControls::CompositionControls(MarvoTimelineController& composition, CompositionServices& services)
    : playButton(services.controls), recButton(services.controls), loopButton(services.controls),
      rewindButton(services.controls), trackAddButton(services.controls), zoomInButton(services.controls),
      zoomOutButton(services.controls), syncOutButton(services.controls), compStateButton(services.controls),
      compSpeed(services.controls), composition_(composition), services_(services) {
    playButton.setAction([this](MarvoButton&) { composition_.transport.togglePlay(); });
    rewindButton.setAction([this](MarvoButton&) { composition_.transport.toggleRewind(); });
    compStateButton.setAction([this](MarvoButton& button) { composition_.changeCompState(button.state()); });
    for (MarvoButton* button : {&loopButton, &syncOutButton})
        button->setAction([this](MarvoButton&) { composition_.projectChanged(); });
    recButton.setAction([this](MarvoButton& button) {
        if (button.state()) {
            services_.application.startRecord(composition_);
        } else {
            services_.application.stopRecord();
        }
    });
    compSpeed.setAction([this](MarvoControlTextField&) { composition_.changeCompSpeed(); });
    zoomInButton.setAction([this](MarvoButton&) {
        if (composition_.surface) composition_.surface->zoomIn();
    });
    zoomOutButton.setAction([this](MarvoButton&) {
        if (composition_.surface) composition_.surface->zoomOut();
    });
    trackAddButton.setAddTrackAction([this](std::string_view trackType) {
        composition_.tracks.createTrackOfTpye(std::string(trackType));
    });
    compStateButton.setState(true);
    for (const Named& entry : named()) {
        const bool triggers = entry.button == &rewindButton || entry.button == &trackAddButton ||
                              entry.button == &zoomInButton || entry.button == &zoomOutButton;
        entry.button->setButtonType(triggers ? momentaryButtonType : toggleButtonType);
        entry.button->setComposition(&composition_);
    }
}

std::array<CompositionControls::Named, 9> CompositionControls::named() {
    return {{
        {&playButton, "/play", "integer 0-1"},
        {&loopButton, "/loop", "integer 0-1"},
        {&trackAddButton, "/addtrack", "integer 0-6"},
        {&recButton, "/record", "integer 0-1"},
        {&rewindButton, "/rewind", "any value will trigger"},
        {&compStateButton, "/enable", "integer 0-1"},
        {&zoomInButton, "/zoomin", "any value will trigger"},
        {&zoomOutButton, "/zoomout", "any value will trigger"},
        {&syncOutButton, "/syncout", "integer 0-1"},
    }};
}

void CompositionControls::setOSCAddresses(const std::string& oscNamespace) {
    for (const Named& entry : named()) {
        entry.button->removeOSCListener();
        entry.button->setOSCAddress(oscNamespace + entry.part, entry.extraInfo);
        entry.button->addOSCListener();
    }
    compSpeed.removeOSCListener();
    compSpeed.setOSCAddress(oscNamespace + "/compbpm", "float 0-999");
    compSpeed.addOSCListener();
}

void CompositionControls::removeResources() {
    for (const Named& entry : named()) entry.button->removeResources();
    compSpeed.removeResources();
}

} // namespace marvo
