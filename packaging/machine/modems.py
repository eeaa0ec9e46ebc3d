"""Runs in the guest: plugs the emulated adapter in and prints which bytes reach the line while nothing but the system
has it."""
import chips

chip = chips.Ft232()
chip.wait(40)
print(bytes(chip.sent))
