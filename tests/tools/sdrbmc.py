"""Sensor data records for a FakeBmc, and the ways in which BMCs send them."""
from fakebmc import FakeBmc

GET_SDR, RESERVE = (0x0A, 0x23), (0x0A, 0x22)
NAME_AT = {0x01: 48, 0x02: 32, 0x03: 17}


def sdr(record_type, name, fields={}, type_length=None):
    """A sensor record without its ID. `fields`: bytes by offset. `name`: text, or the bytes as they stand."""
    start = NAME_AT[record_type]
    raw = bytearray(start)
    text = name.encode("latin-1") if isinstance(name, str) else bytes(name)
    raw[2], raw[3], raw[5] = 0x51, record_type, 0x20
    raw[start - 1] = 0xC0 | len(text) if type_length is None else type_length
    raw += text
    raw[4] = len(raw) - 5
    for offset, value in fields.items():
        raw[offset] = value
    return bytes(raw)


def full(number, name, fields={}, **more):
    """A linear unsigned temperature sensor that has and compares no thresholds."""
    return sdr(0x01, name, {7: number, 8: 7, 9: 1, 12: 0x01, 13: 0x01, 21: 1, 24: 1, **fields}, **more)


def compact(number, name, fields={}, **more):
    """A power supply sensor with states 0 to 3."""
    return sdr(0x02, name, {7: number, 8: 10, 9: 1, 12: 0x08, 13: 0x6F, 18: 0x0F, 20: 0xC0, 23: 0x01, **fields}, **more)


def event_only(number, name, fields={}, **more):
    return sdr(0x03, name, {7: number, 8: 7, 9: 1, 10: 0x13, 11: 0x6F, 12: 0x01, **fields}, **more)


class SdrBmc(FakeBmc):
    """A BMC with these records, numbered from 1.

    most: record bytes that an answer holds; `refusal`: what a request for more gets, None the first `most` bytes.
    whole: what a request for FFh bytes gets: True the record, False `refusal`, or a completion code of its own.
    past_end: completion code for a read beyond the end of the record, None what there is.
    stray: bytes that are sent behind each record. needs_reservation: 0 is no reservation.
    broken: completion codes by (record number, offset or None); followers: other next IDs by record number.
    cancel: called with the number of the Get SDR request, from 1; true cancels the reservation.
    """

    def __init__(self, records, handlers={}, most=250, refusal=0xCA, whole=True, past_end=None, stray=b"",
                 needs_reservation=False, broken={}, followers={}, cancel=None):
        super().__init__({GET_SDR: self._get_sdr, RESERVE: self._reserve, **handlers})
        self.records = [bytes([number & 0xFF, number >> 8]) + record[2:] for number, record in enumerate(records, 1)]
        self.most, self.refusal, self.whole, self.past_end, self.stray = most, refusal, whole, past_end, stray
        self.needs_reservation, self.broken, self.followers, self.cancel = needs_reservation, broken, followers, cancel
        self.reservation = 0

    def _reserve(self, _):
        self.reservation += 1
        return bytes([0, self.reservation, 0])

    def _get_sdr(self, data):
        reservation, number, offset, count = data[0] | data[1] << 8, data[2] | data[3] << 8, data[4], data[5]
        if self.cancel and self.cancel(self.count(*GET_SDR)):
            self.reservation += 1
        if (self.needs_reservation or offset) and reservation != self.reservation:
            return b"\xc5"
        number = max(number, 1) if number != 0xFFFF else len(self.records)
        if number > len(self.records):
            return b"\xcb"
        code = self.broken.get((number, offset), self.broken.get((number, None)))
        if code is not None:
            return bytes([code])
        stored = self.records[number - 1] + self.stray
        if count == 0xFF:
            if self.whole is not True and self.whole is not False:
                return bytes([self.whole])
            if not self.whole:
                return bytes([self.refusal])
            count = len(stored) - offset
        if self.past_end and offset + count > len(stored):
            return bytes([self.past_end])
        if count > self.most and self.refusal is not None:
            return bytes([self.refusal])
        follower = self.followers.get(number, number + 1 if number < len(self.records) else 0xFFFF)
        return bytes([0, follower & 0xFF, follower >> 8]) + stored[offset:offset + min(count, self.most)]
