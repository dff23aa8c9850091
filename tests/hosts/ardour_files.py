"""The files around tests/hosts/ardour: presets and projects written and read, renders compared.

    preset FILE TEXT-FILE                   a .vstpreset of Glassmere with this state
    formats FOLDER                          an export format of 32-bit floats; prints its id
    recording SESSION-FILE WAV FRAME        the float WAV as a region of the only track
    pad WAV OUT BEFORE AFTER                a float WAV with frames of silence around it
    state SESSION-FILE [TEXT-FILE]          the plug-in's ports; its state's text into the file
    size WAV                                rate and frames
    points FRAMES BLOCK                     steps for the host's automation and the renderer's
    midi OUT RATE STEPS                     the renderer's steps as controller 7 in a MIDI file
    compare A B FIRST                       A and B from its frame FIRST on: offset, maximum and RMS
                                            of the difference, its first frame and its largest
"""

import array
import base64
import math
import os
import struct
import sys
import xml.etree.ElementTree as ElementTree

CLASS = struct.pack(">4I", 0xD39D5B69, 0xD6AF42FA, 0x12345678, 0x766C474D)
SUPERCLOCKS = 282240000  # the host's ticks a second
FORMAT_ID = "6f0b1f0e-4f0a-4f43-9d6f-0a4b8a1c7e21"
FORMAT_ELEMENT = "ExportFormat" + "Spec" + "ification"
PRESET_ID = "5d3a2f1c-0c26-4a1e-9d52-3e0e4f7d6a10"


# --- WAV files of 32-bit floats ------------------------------------------------------------------


def read_wav(path):
    """Channels, rate and samples, interleaved."""
    with open(path, "rb") as file:
        data = file.read()
    place, form = 12, None
    while place + 8 <= len(data):
        name, size = data[place : place + 4], struct.unpack_from("<I", data, place + 4)[0]
        if name == b"fmt ":
            form = struct.unpack_from("<HHIIHH", data, place + 8)
        if name == b"data":
            if not form or form[0] not in (3, 0xFFFE) or form[5] != 32:
                sys.exit(f"{path} has no 32-bit floats")
            samples = array.array("f")
            samples.frombytes(data[place + 8 : place + 8 + size // 4 * 4])
            return form[1], form[2], samples
        place += 8 + size + (size & 1)
    sys.exit(f"{path} is no WAV file")


def write_wav(path, channels, rate, samples):
    body = samples.tobytes()
    form = struct.pack("<HHIIHH", 3, channels, rate, rate * channels * 4, channels * 4, 32)
    with open(path, "wb") as file:
        file.write(b"RIFF" + struct.pack("<I", 4 + 8 + len(form) + 8 + len(body)) + b"WAVE")
        file.write(b"fmt " + struct.pack("<I", len(form)) + form)
        file.write(b"data" + struct.pack("<I", len(body)) + body)


def size(path):
    channels, rate, samples = read_wav(path)
    print(rate, len(samples) // channels)


def pad(path, out, before, after):
    channels, rate, samples = read_wav(path)
    silence = lambda frames: array.array("f", bytes(4 * channels * int(frames)))
    write_wav(out, channels, rate, silence(before) + samples + silence(after))


# --- what the host stores ------------------------------------------------------------------------


def preset(path, text_path):
    with open(text_path, "rb") as file:
        text = file.read()
    component = struct.pack("<I", len(text)) + text
    chunks = [(b"Comp", 48, component), (b"Cont", 48 + len(component), b"")]
    with open(path, "wb") as file:
        file.write(b"VST3" + struct.pack("<i", 1) + CLASS.hex().upper().encode())
        file.write(struct.pack("<q", 48 + len(component)) + component)
        file.write(b"List" + struct.pack("<i", len(chunks)))
        for name, place, data in chunks:
            file.write(name + struct.pack("<qq", place, len(data)))


def formats(folder):
    os.makedirs(folder, exist_ok=True)
    silence = "".join(
        f'<{end}><Trim enabled="false"/><Add enabled="false"><Duration format="Timecode" hours="0"'
        f' minutes="0" seconds="0" frames="0"/></Add></{end}>'
        for end in ("Start", "End")
    )
    options = {
        "sample-format": "SF_Float",
        "dithering": "D_None",
        "tag-metadata": "false",
        "tag-support": "false",
        "broadcast-info": "false",
    }
    with open(os.path.join(folder, "float.format"), "w") as file:
        file.write(
            f'<?xml version="1.0" encoding="UTF-8"?><{FORMAT_ELEMENT} name="float"'
            f' id="{FORMAT_ID}" with-cue="false" with-toc="false" with-mp4chaps="false" command=""'
            f' analyse="false" soundcloud-upload="false"><Encoding id="F_WAV" type="T_Sndfile"'
            f' extension="wav" name="WAV" has-sample-format="true" channel-limit="256"/>'
            f'<SampleRate rate="1"/><SRCQuality quality="SRC_SincBest"/><EncodingOptions>'
            + "".join(f'<Option name="{k}" value="{v}"/>' for k, v in options.items())
            + f'</EncodingOptions><Processing><Normalize enabled="false" loudness="no" dbfs="0"'
            f' lufs="-23" dbtp="-1"/><Silence>{silence}</Silence></Processing>'
            f"</{FORMAT_ELEMENT}>"
        )
    fields = "".join(
        f'<Field name="{name}" enabled="{int(name == "timespan")}"/>'
        for name in ("label", "session", "snapshot", "timespan", "revision")
    )
    with open(os.path.join(folder, "float.preset"), "w") as file:
        file.write(
            f'<?xml version="1.0" encoding="UTF-8"?><ExportPreset id="{PRESET_ID}" name="float">'
            f'<ExportFormat id="{FORMAT_ID}"/><ExportFilename><Folder relative="1" path="export"/>'
            f'{fields}<Field name="time" enabled="0" value="T_None"/>'
            f'<Field name="date" enabled="0" value="D_None"/></ExportFilename></ExportPreset>'
        )
    print(PRESET_ID)


def recording(session, wav, frame):
    channels, rate, samples = read_wav(wav)
    tree = ElementTree.parse(session)
    root = tree.getroot()
    number = int(root.get("id-counter"))
    clocks = SUPERCLOCKS // rate
    length = len(samples) // channels * clocks
    region = {
        "name": "recording.1",
        "type": "audio",
        "channels": str(channels),
        "start": "a0",
        "length": f"a{length}@a{int(frame) * clocks}",
        "opaque": "1",
        "muted": "0",
        "envelope-active": "0",
        "fade-in-active": "0",
        "fade-out-active": "0",
        "scale-amplitude": "1",
        "layering-index": "0",
    }
    for channel in range(channels):
        number += 1
        source = {"id": str(number), "type": "audio", "flags": "", "gain": "1", "origin": ""}
        source |= {"name": os.path.basename(wav), "channel": str(channel)}
        ElementTree.SubElement(root.find("Sources"), "Source", source)
        region[f"source-{channel}"] = region[f"master-source-{channel}"] = str(number)
    region["id"] = str(number + 1)
    element = ElementTree.SubElement(root.find("Playlists/Playlist"), "Region", region)
    for end in ("FadeIn", "FadeOut"):
        ElementTree.SubElement(element, end, {"default": "1", "active": "0"})
    # The host would fade the first samples after a start in.
    for option in root.iter("Option"):
        if option.get("name") in ("use-region-fades", "use-transport-fades"):
            option.set("value", "0")
    root.set("id-counter", str(number + 2))
    tree.write(session, encoding="UTF-8", xml_declaration=True)


def state(session, text_path=None):
    plugin = ElementTree.parse(session).getroot().find(".//Processor/vst3")
    if plugin is None:
        sys.exit(f"{session} has no VST3 plug-in")
    for port in plugin.findall("Port"):
        print(f"port {port.get('id')}={float(port.get('value')):.6f}")
    chunk = base64.b64decode(plugin.findtext("chunk", ""))
    if chunk[:4] != b"VST3" or chunk[8:40] != CLASS.hex().upper().encode():
        sys.exit("the state has no VST3 header of Glassmere's")
    (place,) = struct.unpack_from("<q", chunk, 40)
    for entry in range(struct.unpack_from("<i", chunk, place + 4)[0]):
        name, start, size = struct.unpack_from("<4sqq", chunk, place + 8 + 20 * entry)
        print(f"chunk {name.decode()} of {size} bytes")
        if name == b"Comp" and text_path:
            (length,) = struct.unpack_from("<I", chunk, start)
            if length + 4 != size:
                sys.exit(f"the state says {length} bytes and has {size - 4}")
            with open(text_path, "wb") as file:
                file.write(chunk[start + 4 : start + size])


# --- automation ----------------------------------------------------------------------------------


def single(value):
    return struct.unpack("f", struct.pack("f", value))[0]


def points(frames, block):
    """A swell and some jumps of Feedback. First as the host's points, each in the middle of a
    block: a plug-in hears of the block's last value at its start. Then as a controller's positions
    at the starts of these blocks, in the renderer's file."""
    frames, block = int(frames), int(block)
    host, renderer = [], []
    for step in range(24):
        number = frames * step // 24 // block
        wave = 0.5 - 0.5 * math.cos(2 * math.pi * step / 12)
        position = 127 if step == 7 else 0 if step == 17 else int(20 + 90 * wave)
        # The value must survive the host's scale of 0 to 1.
        while single(100 * single(exact(position) / 100)) != exact(position):
            position -= 1
        host.append(f"{number * block + block // 2 if step else 0}:{exact(position)!r}")
        renderer.append(f"{(number + 1) * block if step else 0}:{position}")
    print(",".join(host))
    print(",".join(renderer))


def exact(position):
    """Feedback at a controller's position, in the renderer's arithmetic."""
    return single(position * single(100 * single(0.007874016)))


def midi(out, rate, steps):
    def number(value):
        digits = [value & 127]
        while value := value >> 7:
            digits.insert(0, value & 127 | 128)
        return bytes(digits)

    track, last = b"", 0
    for frame, position in (map(int, step.split(":")) for step in steps.split(",")):
        track += number(frame - last) + bytes([0xB0, 7, position])
        last = frame
    track += b"\0\xff\x2f\0"
    # At 120 quarters a minute half the rate is the ticks of a quarter: one tick a frame.
    with open(out, "wb") as file:
        file.write(b"MThd" + struct.pack(">IHHH", 6, 0, 1, int(rate) // 2))
        file.write(b"MTrk" + struct.pack(">I", len(track)) + track)


# --- comparison ----------------------------------------------------------------------------------


def decibels(value):
    return "-inf" if value == 0 else f"{20 * math.log10(value):.1f}"


def find_offset(a, b, reach=2048, length=4096):
    """By how many frames `b` comes after `a`: from the first loud place, the best match."""
    start = next((i for i, x in enumerate(a) if abs(x) > 0.01), None)
    if start is None:
        return 0
    window = a[start : start + length : 7]
    best, least = 0, math.inf
    for offset in range(-reach, reach + 1):
        first = start + offset
        if first < 0 or first + length > len(b):
            continue
        error = sum((x - y) ** 2 for x, y in zip(window, b[first : first + length : 7]))
        if error < least or error == least and abs(offset) < abs(best):
            best, least = offset, error
    return best


def compare(path_a, path_b, skip):
    channels, rate, a = read_wav(path_a)
    channels_b, rate_b, b = read_wav(path_b)
    if (channels, rate) != (channels_b, rate_b):
        sys.exit(f"{channels} channels at {rate} Hz and {channels_b} at {rate_b}")
    b = b[int(skip) * channels :]
    offset = find_offset(a[::channels], b[::channels])
    if offset > 0:
        b = b[offset * channels :]
    else:
        a = a[-offset * channels :]
    count = min(len(a), len(b))
    peak = max(map(abs, a), default=0)
    most = total = 0.0
    place = first = -1
    for i, (x, y) in enumerate(zip(a, b)):
        difference = abs(x - y)
        if difference and first < 0:
            first = i
        if difference > most:
            most, place = difference, i
        total += difference * difference
    rms = math.sqrt(total / count) if count else 0
    print(
        f"offset={offset} frames={count // channels} peak={decibels(peak)}dB"
        f" maximum={decibels(most)}dB rms={decibels(rms)}dB"
        f" first={first // channels if first >= 0 else -1}"
        f" at={place // channels if place >= 0 else -1}"
    )


if __name__ == "__main__":
    steps = (preset, formats, recording, size, pad, state, points, midi, compare)
    verbs = {verb.__name__: verb for verb in steps}
    if len(sys.argv) < 2 or sys.argv[1] not in verbs:
        sys.exit(__doc__)
    verbs[sys.argv[1]](*sys.argv[2:])
