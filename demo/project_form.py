"""The forms in which a project stores a show, and the units a person thinks in.

A project holds whole frames, and values of OSC floats times 100, or times 100000 where a track keeps five digits. MIDI
and DMX values stand as they are sent. Colours are hexadecimal here, "#rrggbb", and archived text there."""

CURVES = ["No Interpolation", "Linear Interpolation"] + [
    "%s %s" % (family, direction)
    for family in ("Quadratic", "Cubic", "Quartic", "Quintic", "Sine", "Circular", "Exponential", "Elastic", "Back", "Bounce")
    for direction in ("Ease-In", "Ease-Out", "Ease-In-Out")]

# Short names for the tables of a show: "sine-in-out" is "Sine Ease-In-Out".
LABELS = {"hold": CURVES[0], "linear": CURVES[1]}
LABELS.update({label.lower().replace(" ease", "").replace(" ", "-"): label for label in CURVES[2:]})

FLOAT, INTEGER, BOOLEAN = 0, 1, 2
# How a colour leaves over OSC: one colour argument, all components in one message, or a message for each.
COLOUR, INTEGERS, FLOATS, INTEGER_MESSAGES, FLOAT_MESSAGES = range(5)

LOOPBACK = "(Loopback Interface) - 127.0.0.1 (lo0)"
OUTPUTS = [("Lights", 8000), ("Sound", 8001), ("Video", 8002)]
MIDI_OUTPUTS = ["Marvo Midi Out 1", "Marvo Midi Out 2"]
UNIVERSES = {"Stage": 1, "House": 2, "Dimmers": 3}

used_curves = set()


def control(state=False, learned=(-1, -1)):
    """learned: the channel, counted from 0, and the controller that a desk drives it with."""
    return {"midiChannel": learned[0], "midiControl": learned[1], "state": state}


def archived(colour):
    parts = [int(colour[at:at + 2], 16) / 255 for at in (1, 3, 5)]
    return ("marvo-colour 1 rgba %s 1" % " ".join("%.17g" % round(part, 4) for part in parts)).encode()


def displayed(universe_name):
    index = UNIVERSES[universe_name]
    return "%s (%d-%d)" % (universe_name, index // 16, index % 16)


class Composition:
    def __init__(self, name, fps, bpm, seconds, working_area=None, cues=()):
        """cues: (second, name), with "pause", or with how often the section that begins there is played again."""
        self.name, self.fps, self.bpm, self.seconds = name, fps, bpm, seconds
        self.working_area = working_area or (0, seconds)
        self.cues = cues
        self.tracks = []

    def frame(self, seconds):
        return int(round(seconds * self.fps))

    def keyframe(self, second, curve, **more):
        assert 0 <= second <= self.seconds, (self.name, second)
        used_curves.add(LABELS[curve])
        return dict({"time": self.frame(second), "interpolation": LABELS[curve]}, **more)

    def add(self, name, kind, keyframes, **more):
        """Keyframes in the order of time; only notes may share a frame."""
        times = [keyframe["time"] for keyframe in keyframes]
        assert times == sorted(times) and (kind == "MidiNotes" or len(times) == len(set(times))), (self.name, name)
        assert all(name != other["trackName"] for other in self.tracks), name
        self.tracks.append(dict({
            "trackPos": len(self.tracks), "trackType": kind, "enabledButton": control(True), "trackName": name,
            "keyFrames": {str(number): keyframe for number, keyframe in enumerate(keyframes)},
            "isLocked": False, "isCollapsed": False, "cachedMuteState": 0, "recordedSession": False}, **more))

    def values(self, points, low, high, scale=1.0):
        """points: (second, value, curve of the segment that ends there)."""
        assert all(low <= value <= high for _, value, _ in points), (self.name, points)
        return [self.keyframe(second, curve, value=float(value * scale)) for second, value, curve in points]

    def track(self, name, out, address, low, high, points, kind=FLOAT, five_digits=False, normalised=False):
        assert out in dict(OUTPUTS)
        scale = 1.0 if kind != FLOAT else 100000.0 if five_digits else 100.0
        self.add(name, "OSCValue", self.values(points, low, high, scale),
                 trackOSCType=kind, trackMinValue=float(low * scale), trackMaxValue=float(high * scale),
                 isUsing5FractionDigits=five_digits, trackOSCAddress=address, oscPortName=out,
                 sendsNormalisedValue=normalised)

    def controller(self, name, out, channel, number, points, fourteen_bits=False):
        self.add(name, "MidiCCValue", self.values(points, 0, 16383 if fourteen_bits else 127),
                 midiChannel=str(channel), midiCC=str(number), midiCC14bitButton=control(fourteen_bits),
                 midiNodeName=MIDI_OUTPUTS[out - 1])

    def notes(self, name, out, channel, points, low=0, high=127):
        """points: (second, note, velocity), held, or (second, note, velocity, curve): a run to that note."""
        keyframes = []
        for second, note, velocity, *curve in points:
            assert low <= note <= high and 1 <= velocity <= 127, (name, note, velocity)
            keyframes.append(self.keyframe(second, curve[0] if curve else "hold", value=float(note),
                                           noteVelocityOn=float(velocity), noteVelocityOff=64.0))
        self.add(name, "MidiNotes", keyframes, midiNotesFrom=str(low), midiNotesTo=str(high),
                 midiChannel=str(channel), midiNodeName=MIDI_OUTPUTS[out - 1])

    def dmx(self, name, universe, channels, points, sixteen_bits=False):
        self.add(name, "ArtNetValue", self.values(points, 0, 65535 if sixteen_bits else 255),
                 artNetChannel=channels, artNetOutput=displayed(universe), artNet16bitButton=control(sixteen_bits))

    def colours(self, points):
        return [self.keyframe(second, curve, colorValue=archived(colour)) for second, colour, curve in points]

    def osc_colour(self, name, out, address, form, points, parts="rgb"):
        highest = 255.0 if form in (INTEGERS, INTEGER_MESSAGES) else 100.0
        special = {"address" + letter: part for letter, part in zip("RGBA", list(parts) + ["a"])}
        self.add(name, "OSCColor", self.colours(points), trackOSCType=form, trackMinValue=0.0, trackMaxValue=highest,
                 isUsing5FractionDigits=False, trackOSCAddress=address, oscPortName=out,
                 specialSettings=dict(special, shouldSendAlpha=False))

    def lamps(self, name, universe, channels, letters, points, sixteen_bits=False):
        """letters: one channel each, as "RGBW"."""
        self.add(name, "ArtNetColor", self.colours(points), artNetChannel=channels, artNetOutput=displayed(universe),
                 artNet16bitButton=control(sixteen_bits), specialSettings={"artNetColorFormat": letters})

    def flags(self, name, out, messages):
        """messages: (second, what leaves then)."""
        self.add(name, "OSCFlag", [self.keyframe(second, "hold", value=50.0, flagAddress=message)
                                   for second, message in messages], oscPortName=out)

    def cue_records(self):
        for second, name, *does in self.cues:
            pauses, again = "pause" in does, [number for number in does if number != "pause"]
            yield {"time": self.frame(second), "cueName": name, "type": int(pauses), "repeat": int(bool(again)),
                   "numberOfLoopsNeeded": again[0] if again else 1}

    def record(self):
        begin, end = self.working_area
        record = {
            "tracks": {"tr-%d" % number: track for number, track in enumerate(self.tracks)},
            "compFPS": self.fps, "compTime": float(self.seconds), "compSpeed": "%d" % self.bpm,
            "throttler": {"inTime": self.frame(begin), "outTime": self.frame(end)}, "compName": self.name}
        for key in ("trackAddButton", "playButton", "rewindButton", "recButton", "zoomInButton", "zoomOutButton",
                    "syncOutButton"):
            record[key] = control()
        record.update({
            "loopButton": control(True), "compStateButton": control(True), "compState": True,
            "compSpeedAssigns": {"midiChannel": -1, "midiControl": -1}, "mtcOutStartTime": 0.0, "mtcOutFPS": "11",
            "transmitsMMC": False, "transmitsMTC": False, "useCompIDWithMMC": False, "mtcFormat": 3, "smpteOffset": 0.0,
            "cueController": {"enableButton": control(True), "nextCueButton": control(), "prevCueButton": control(),
                              "cues": {str(number): cue for number, cue in enumerate(self.cue_records())}},
            "lastOSCTrackAddress": "/example", "lastOSCFlagAddress": "/example"})
        return record


def ports():
    return {"inputs": [{"port": 1234}],
            "outputs": [{"address": "127.0.0.1", "port": port, "portLabel": label} for label, port in OUTPUTS],
            "feedback": "Disabled"}


def art_net(patch, fader):
    """patch: (universe, channel, universe, channels), the first two written to, the others reached.

    What leaves goes to everybody on this machine, so that it can be looked at without a device."""
    items = [{"itemPosition": place, "sourceUniverse": UNIVERSES[source], "sourceChannel": channel,
              "destinationUniverse": UNIVERSES[target], "destinationChannels": channels}
             for place, (source, channel, target, channels) in enumerate(patch)]
    return {"outputNodes": dict(UNIVERSES), "selectedInterface": LOOPBACK, "softPatchEnableButton": control(bool(items)),
            "masterFader": {"midiChannel": fader[0], "midiControl": fader[1], "volume": 1.0},
            "softPatchItems": items, "softPatchWindowFrame": "{{0, 0}, {0, 0}}", "softPatchWindowState": False,
            "inputEnabled": False, "inputSubNet": 0, "inputUniverse": 0,
            "outputSending": {name: {"broadcast": True, "constantRate": 0} for name in UNIVERSES}}
