"""Runs in the guest. It plugs the emulated adapter in and prints which bytes reach the line while only the system uses
it."""
import chips

chip = chips.Ft232()
chip.wait(40)
print(bytes(chip.sent))
