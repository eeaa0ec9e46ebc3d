"""Runs in the guest: plugs the emulated adapter in and prints which bytes reach the line while nothing but the system
has it."""
import ft232

chip = ft232.Chip()
chip.wait(40)
print(bytes(chip.sent))
