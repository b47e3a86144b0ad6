#!/usr/bin/env python3
"""Writes the demonstration show as a project file.

Usage: make_demo.py [FILE]      FILE is demo.mrv beside this script, or "-" for standard output.

The show is described here in a person's units (seconds, 0 to 1, degrees, decibels, notes, DMX levels, colours);
project_form.py knows how a project stores it. The same script gives the same bytes everywhere. It stops when a curve of
the menu is used by no track."""

import os
import plistlib
import sys

from project_form import (BOOLEAN, COLOUR, CURVES, FLOATS, FLOAT_MESSAGES, INTEGER, INTEGERS, INTEGER_MESSAGES,
                          MIDI_OUTPUTS, Composition, art_net, control, ports, used_curves)

# What a MIDI desk drives the show with, on the last channel: whether all of it plays, and the fader of the colours.
PLAY_ALL, COLOUR_FADER = (15, 80), (15, 81)


def sunrise():
    """A slow morning: night blue turns into red, gold and day."""
    show = Composition("Sunrise", fps=25, bpm=120, seconds=24,
                       cues=[(0, "Night"), (8, "First Light"), (16, "Day")])
    # Three tracks, one message: the values of a "#" address leave together as /light/rgb red green blue.
    show.track("Sky Red", "Lights", "/light/rgb#1", 0, 1, [
        (0, 0.02, "hold"), (6, 0.10, "sine-in"), (11, 0.95, "circular-in-out"), (17, 0.85, "sine-out"), (23, 0.02, "sine-in-out")])
    show.track("Sky Green", "Lights", "/light/rgb#2", 0, 1, [
        (0, 0.03, "hold"), (8, 0.08, "quadratic-in"), (14, 0.60, "cubic-in-out"), (18, 0.85, "quadratic-out"), (23, 0.03, "sine-in-out")])
    show.track("Sky Blue", "Lights", "/light/rgb#3", 0, 1, [
        (0, 0.22, "hold"), (9, 0.12, "circular-out"), (14, 0.40, "circular-in"), (18, 0.90, "quadratic-in-out"), (23, 0.22, "sine-in-out")])
    # Five digits: the sun climbs by thousandths of a degree, and each of them is sent.
    show.track("Sun Height", "Lights", "/light/sun/height", -12, 60, [
        (0, -12, "hold"), (16, 52, "sine-in-out"), (23, -12, "cubic-in-out")], five_digits=True)
    show.track("Sun Warmth", "Lights", "/light/sun/kelvin", 1800, 6500, [
        (0, 1800, "hold"), (7, 2000, "linear"), (16, 6500, "exponential-in-out"), (23, 1800, "quartic-in-out")], INTEGER)
    show.track("Haze", "Lights", "/light/haze", 0, 1, [
        (0, 0, "hold"), (4, 0.7, "cubic-out"), (15, 0.55, "linear"), (20, 0, "cubic-in")])
    # The name of the track is part of the address; decibels leave as 0 to 1.
    show.track("Crickets", "Sound", "/sound/$TRACK/level", -60, 0, [
        (0, -12, "hold"), (9, -18, "linear"), (13, -60, "quintic-in"), (21, -60, "hold"), (23.5, -12, "quintic-out")],
        normalised=True)
    show.track("Wind", "Sound", "/sound/$TRACK/level", -60, 0, [
        (0, -40, "hold"), (5, -22, "sine-in-out"), (9, -34, "sine-in-out"), (14, -16, "sine-in-out"), (19, -30, "quartic-out"),
        (23, -40, "linear")], normalised=True)
    # A whole message from one template: what to play, how loud, and at which frame it was asked for.
    show.track("Birds", "Sound", '/sound/sample <"birdsong"> <$> <$F>', 0, 1, [
        (8, 0.1, "hold"), (10, 0.4, "hold"), (11.2, 0.3, "hold"), (12.4, 0.7, "hold"), (13, 0.5, "hold"), (14.2, 0.9, "hold"),
        (15, 0.6, "hold"), (16.4, 1, "hold"), (19, 0.4, "hold"), (20.5, 0.2, "hold")])
    show.track("Dawn Bell", "Sound", "/sound/bell", 0, 1, [
        (0, 0, "hold"), (8, 1, "hold"), (8.4, 0, "hold"), (16, 1, "hold"), (16.4, 0, "hold")], BOOLEAN)
    # The value is part of the address: /video/layer/1 to /video/layer/4.
    show.track("Clouds", "Video", '/video/layer/$ <"$COMP"> <$F>', 1, 4, [
        (0, 1, "hold"), (6, 2, "hold"), (11, 3, "hold"), (17, 4, "hold"), (22, 1, "hold")], INTEGER)
    show.track("Sky Clock", "Video", "/video/clock <$S>", 0, 1, [(0, 0, "hold"), (23.96, 1, "linear")], five_digits=True)
    morning = [(0, "#05071f", "hold"), (6, "#2a1840", "sine-in"), (11, "#d0502a", "circular-in-out"), (16, "#ffd9a0", "sine-out"),
               (19, "#fff4e0", "linear"), (23, "#05071f", "sine-in-out")]
    show.osc_colour("Horizon", "Video", "/video/horizon", COLOUR, morning)
    # Four lamps of red, green, blue and white, one behind the other.
    show.lamps("Cyclorama", "Stage", "1x4", "RGBW", morning)
    show.dmx("Sun Lamp", "Stage", "41", [(0, 0, "hold"), (8, 0, "hold"), (16, 255, "exponential-in"), (23, 0, "quartic-in-out")])
    show.flags("Scenes", "Video", [(0, '/video/scene <"night">'), (8, '/video/scene <"dawn"> <$F>'), (16, '/video/scene <"day"> <$S>')])
    show.controller("Pad Level", 1, 1, 7, [
        (0, 30, "hold"), (8, 64, "sine-in-out"), (16, 118, "cubic-out"), (23, 30, "sine-in-out")])
    # Fourteen bits: the filter opens without steps.
    show.controller("Pad Filter", 1, 1, 16, [
        (0, 1200, "hold"), (16, 16383, "quadratic-in"), (23, 1200, "quadratic-out")], fourteen_bits=True)
    # Notes of one frame are a chord.
    show.notes("Morning Bells", 1, 2, [
        (0.4, 72, 60), (1.2, 67, 50), (2, 64, 50), (2.8, 60, 70), (4, 72, 50), (4.4, 71, 50), (4.8, 69, 55), (5.2, 67, 60),
        (8, 48, 90), (8, 60, 90), (8, 64, 80), (8, 67, 80), (9.6, 72, 60), (10.4, 74, 60), (11.2, 76, 64), (12, 79, 70),
        (16, 48, 110), (16, 60, 110), (16, 64, 100), (16, 67, 100), (16, 72, 120), (18, 67, 60), (19, 64, 50), (20, 60, 40)],
        low=36, high=96)
    return show


def storm():
    """Rain, lightning and a ship's lamp. Only the seconds 2 to 14 play: the rest is left over from rehearsals."""
    show = Composition("Storm", fps=30, bpm=132, seconds=16, working_area=(2, 14),
                       cues=[(2, "Rain"), (6, "Lightning"), (11, "Eye of the Storm")])
    # (second, brightness, seconds until it is dark, how)
    flashes = [(2.5, 0.7, 0.4, "exponential-out"), (3.0, 1.0, 0.6, "bounce-out"), (5.2, 0.85, 0.5, "quartic-in"),
               (6.0, 0.6, 0.15, "linear"), (6.2, 1.0, 0.4, "exponential-out"), (6.7, 0.85, 0.9, "bounce-out"),
               (8.9, 0.5, 0.1, "linear"), (9.1, 1.0, 1.2, "quartic-in"), (12.4, 0.7, 0.5, "exponential-out")]
    strobe = [(2, 0, "hold")]
    for second, brightness, fade, curve in flashes:
        strobe += [(second, brightness, "hold"), (second + fade, 0, curve)]
    show.track("Lightning", "Lights", "/light/strobe", 0, 1, strobe)
    # Sound is slower than light, and a faint flash is too far away to be heard.
    show.track("Thunder", "Sound", '/sound/sample <"thunder"> <$> <$S>', 0, 1,
               [(second + 0.3, brightness, "hold") for second, brightness, _, _ in flashes if brightness > 0.6])
    # Curves that swing beyond their keyframes: the range is wide enough for where they go.
    show.track("Lamp Swing", "Lights", "/light/lamp/tilt", -90, 90, [
        (2, 0, "hold"), (4, 40, "elastic-out"), (6, -35, "elastic-in-out"), (8, 30, "back-in-out"), (9, -20, "back-out"),
        (10.5, 10, "back-in"), (12, -30, "elastic-in"), (14, 0, "bounce-in-out")], five_digits=True)
    show.track("Lamp Dim", "Lights", "/light/lamp/dim", 0, 255, [
        (2, 200, "hold"), (5, 90, "bounce-in"), (6, 0, "exponential-in"), (6.9, 0, "hold"), (8, 160, "circular-out"),
        (14, 200, "quartic-in-out")], INTEGER)
    show.track("Sea Red", "Lights", "/light/sea/rgb#1", 0, 1, [(2, 0, "hold"), (8, 0.10, "linear"), (14, 0, "linear")])
    show.track("Sea Green", "Lights", "/light/sea/rgb#2", 0, 1, [
        (2, 0.2, "hold"), (5, 0.5, "sine-in-out"), (8, 0.15, "sine-in-out"), (11, 0.45, "sine-in-out"), (14, 0.2, "sine-in-out")])
    show.track("Sea Blue", "Lights", "/light/sea/rgb#3", 0, 1, [
        (2, 0.5, "hold"), (6, 0.9, "quadratic-out"), (10, 0.4, "quadratic-in"), (14, 0.5, "quadratic-in-out")])
    show.track("Rain", "Sound", "/sound/$TRACK/level", -60, 0, [
        (2, -50, "hold"), (6, -9, "exponential-out"), (11, -6, "linear"), (12, -40, "quintic-in-out"), (14, -50, "cubic-out")],
        normalised=True)
    show.track("Foghorn", "Sound", "/sound/foghorn", 0, 1, [
        (2, 0, "hold"), (4.5, 1, "hold"), (6.5, 0, "hold"), (11, 1, "hold"), (13, 0, "hold")], BOOLEAN)
    show.track("Rain Speed", "Video", "/video/rain/speed", 0, 4, [
        (2, 0.5, "hold"), (6, 3, "cubic-in"), (9, 4, "quintic-out"), (14, 0.5, "quartic-out")], five_digits=True)
    # Two arguments of its own, then the value that every template gets unless it places it itself.
    show.track("Camera Shake", "Video", '/video/camera <"shake"> <2>', 0, 1, [
        (5.2, 0, "hold"), (5.5, 1, "back-out"), (6.9, 0.4, "bounce-out"), (8.8, 0, "sine-out"), (9.1, 1, "elastic-out"),
        (11, 0, "quadratic-out")])
    show.dmx("Strobe Lamps", "Stage", "61, 63x2", [(second, level * 255, curve) for second, level, curve in strobe])
    # Two channels each, coarse and fine: a slow lamp that does not shake.
    show.dmx("Lamp Pan", "Stage", "51", [
        (2, 32768, "hold"), (5, 45000, "sine-in-out"), (9, 20000, "sine-in-out"), (14, 32768, "sine-in-out")], sixteen_bits=True)
    show.dmx("Lamp Tilt", "Stage", "53", [
        (2, 32768, "hold"), (4, 40000, "elastic-out"), (7, 26000, "sine-in-out"), (11, 36000, "sine-in-out"),
        (14, 32768, "back-out")], sixteen_bits=True)
    waves = [(2, "#003a5c", "hold"), (5, "#1d8a8a", "sine-in-out"), (8, "#12206b", "sine-in-out"), (11, "#2fa39a", "sine-in-out"),
             (14, "#003a5c", "quadratic-in-out")]
    # Ink, for scrollers; two channels each.
    show.lamps("Sea Ink", "Stage", "71", "CMY", waves, sixteen_bits=True)
    show.osc_colour("Sea Glow", "Lights", "/light/sea/glow", INTEGERS, waves)
    show.osc_colour("Lantern", "Lights", "/light/lantern", FLOAT_MESSAGES, [
        (2, "#ffb347", "hold"), (6, "#ff7a1a", "linear"), (6.9, "#200800", "hold"), (8, "#ffb347", "circular-out")])
    show.notes("Timpani", 2, 10, sorted(
        [(second + 0.3, 41, int(40 + 80 * level)) for second, level, _, _ in flashes if level > 0.6] +
        [(10 + 0.2 * beat, 43, 30 + 6 * beat) for beat in range(10)]), low=36, high=60)
    # A run: each step of the way is a note.
    show.notes("Harp", 2, 3, [
        (2.2, 48, 70), (3.8, 84, 70, "sine-in"), (5.4, 60, 60, "sine-out"), (7, 60, 60), (8.4, 91, 80, "quadratic-in"),
        (11.2, 55, 50), (13.4, 79, 50, "linear")], low=36, high=96)
    show.controller("Wind Machine", 2, 4, 11, [
        (2, 20, "hold"), (6, 100, "cubic-in"), (9, 127, "quintic-out"), (12, 40, "quintic-in-out"), (14, 20, "cubic-out")])
    return show


def house_lights():
    """The room: walk-in, a chase around the balcony, work light. Half speed of a march, sixty frames a second."""
    show = Composition("House Lights", fps=60, bpm=90, seconds=20, cues=[(0, "Walk-in"), (10, "Blackout"), (14, "Work Light")])
    for zone, (name, delay, curve) in enumerate((
            ("Stalls", 0, "quadratic-in-out"), ("Circle", 0.5, "quintic-in-out"), ("Balcony", 1, "cubic-in-out")), 1):
        show.track(name, "Lights", "/house/%d/$TRACK" % zone, 0, 255, [
            (0, 0, "hold"), (3 + delay, 255, curve), (6 + delay, 180, "linear"), (10, 0, "quadratic-out"), (14, 0, "hold"),
            (14.5 + delay, 120, "quartic-out"), (19, 0, "linear")], INTEGER)
    # A light that runs around the balcony, four lamps in one message. Dark stretches are straight lines and not held
    # values: what holds still sends nothing, and the message would have fewer than four values.
    for lamp in range(4):
        points = [(0, 0, "hold")]
        for lap in range(4):
            second = 1 + 2 * lap + 0.5 * lamp
            points += [(second, 0, "linear"), (second + 0.2, 1, "circular-out"), (second + 0.75, 0, "sine-in")]
        points.append((20, 0, "linear"))
        show.track("Chase %d" % (lamp + 1), "Lights", "/house/chase#%d" % (lamp + 1), 0, 1, points)
    show.track("Exit Signs", "Lights", "/house/exit", 0, 1, [(0, 1, "hold"), (10, 0, "hold"), (12, 1, "hold")], BOOLEAN)
    show.track("Walk-in Music", "Sound", "/sound/music <$>", -60, 0, [
        (0, -30, "hold"), (2, -12, "sine-out"), (8.5, -12, "linear"), (10, -60, "quartic-in"), (15, -60, "hold"),
        (18, -24, "quintic-in"), (19.5, -60, "exponential-in")])
    show.track("Announcement", "Sound", '/sound/say <"Please take your seats">', 0, 3, [
        (0, 0, "hold"), (2, 3, "hold"), (5, 2, "hold"), (8, 1, "hold")], INTEGER)
    show.track("Curtain", "Video", "/video/curtain", 0, 1, [
        (0, 1, "hold"), (9, 1, "hold"), (12, 0, "bounce-out"), (18, 1, "back-in-out")], five_digits=True)
    show.track("Countdown", "Video", '/video/text <"$COMP, $TRACK"> <$COMPINDEX> <$>', 0, 10, [
        (0, 10, "hold"), (10, 0, "linear")], INTEGER)
    show.dmx("Stalls Dimmers", "House", "1x6", [
        (0, 0, "hold"), (3, 255, "quadratic-in-out"), (6, 180, "linear"), (10, 0, "quadratic-out"), (14, 0, "hold"),
        (14.5, 120, "quartic-out"), (19, 0, "linear")])
    # The plan of the tour says channel 20; the soft patch knows where the lamps of this house are.
    show.dmx("Aisle Lamps", "House", "20", [(0, 40, "hold"), (9, 40, "hold"), (10, 160, "sine-out"), (19, 40, "sine-in")])
    show.lamps("Chandelier", "House", "31x2", "RGBA", [
        (0, "#301000", "hold"), (4, "#ffc070", "sine-out"), (9, "#ffc070", "hold"), (10, "#180800", "quadratic-out"),
        (14, "#ffffff", "quartic-out"), (19, "#301000", "linear")])
    return show


def curtain_call():
    """The applause comes three times; then everybody waits for the person at the desk, who plays the encore."""
    show = Composition("Curtain Call", fps=25, bpm=120, seconds=14,
                       cues=[(0, "Bow"), (4, "Applause", 2), (8, "Encore", "pause"), (12, "Curtain")])
    spot = [(0, "#000000", "hold"), (1, "#fff1d6", "sine-out"), (4, "#ffd27f", "linear"), (6, "#ff9ecb", "sine-in-out"),
            (8, "#fff1d6", "sine-in-out"), (12, "#fff1d6", "hold"), (13.5, "#000000", "quadratic-in")]
    show.osc_colour("Follow Spot", "Lights", "/light/spot", FLOATS, spot)
    show.osc_colour("Festoon", "Lights", "/light/festoon", INTEGER_MESSAGES, spot)
    show.lamps("Front Wash", "Stage", "101x2", "RGB", spot)
    show.flags("Prompter", "Sound", [
        (0, '/sound/applause <"bow">'), (4, '/sound/applause <"swell"> <$F>'), (8.2, "/sound/encore <1> <0.5>"), (12, "/sound/house")])
    show.notes("Fanfare", 1, 5, [
        (0.2, 55, 90), (0.4, 55, 90), (0.6, 55, 90), (0.8, 60, 120), (0.8, 64, 110), (0.8, 67, 110), (2, 65, 90), (2, 69, 90),
        (4.4, 67, 80), (5.2, 67, 80), (6, 72, 100), (9, 60, 100), (9, 67, 100), (9, 76, 120), (11, 72, 90)], low=48, high=84)
    show.controller("Organ Swell", 1, 5, 11, [(0, 0, "hold"), (4, 100, "quadratic-in"), (8, 60, "linear"), (13, 0, "sine-in")])
    return show


def project():
    compositions = [sunrise(), storm(), house_lights(), curtain_call()]
    unused = [label for label in CURVES if label not in used_curves]
    if unused:
        sys.exit("no track uses " + ", ".join(unused))
    root = {"Comp-%d" % number: composition.record() for number, composition in enumerate(compositions)}
    app_data = {"WindowFrame": "{{0, 0}, {0, 0}}"}
    for key in ("addCompositionButton", "togglePlayAllButton", "queuedModeButton", "queuedLoopButton", "assignHelperButton",
                "rewindAllButton", "soloModeButton", "triggerNextButton", "triggerPrevButton"):
        app_data[key] = control()
    app_data["togglePlayAllButton"] = control(learned=PLAY_ALL)
    app_data["preferences"] = {
        "midiOutputs": MIDI_OUTPUTS, "oscPorts": ports(),
        "artNetManager": art_net(patch=[("House", 20, "Dimmers", "1,5x3")], fader=COLOUR_FADER),
        "displayTrackOutputs": True}
    app_data.update({"selectedComposition": 0, "isProjectLocked": False})
    root["appData"] = app_data
    return plistlib.dumps(root, fmt=plistlib.FMT_XML, sort_keys=False)


def main():
    path = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "demo.mrv")
    content = project()
    if path == "-":
        sys.stdout.buffer.write(content)
    else:
        with open(path, "wb") as out:
            out.write(content)


if __name__ == "__main__":
    main()
