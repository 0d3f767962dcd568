function shownTemperature(celsius) {
  var value = setting("temperature") === "F" ? celsius * 9 / 5 + 32 : celsius;
  return Math.round(value) + "\u00B0";
}

var beaufortLimits = [0.3, 1.6, 3.4, 5.5, 8, 10.8, 13.9, 17.2, 20.8, 24.5, 28.5, 32.7];

function shownWind(metresPerSecond) {
  switch (setting("wind")) {
    case "kmh": return Math.round(metresPerSecond * 3.6) + " km/h";
    case "bft": return beaufortLimits.filter(function (limit) { return metresPerSecond >= limit; }).length + " Bft";
    default: return Math.round(metresPerSecond) + " m/s";
  }
}
